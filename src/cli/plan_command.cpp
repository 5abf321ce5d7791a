#include "building/plan_text.h"
#include "building/port_checks.h"
#include "building/wrapper_creation.h"
#include "cli/commands.h"
#include "platform/files.h"
#include "platform/json.h"
#include "ports/port_data.h"

namespace morvane::cli {

namespace {

/// What installs the port without a terminal, for a shell; paths of files are to be filled in.
std::string commandLine(const std::string& cki, const std::string& to, const BuildPlan& plan) {
    std::string line = "morvane install " + shellQuoted(cki);
    if (!to.empty()) line += " --to " + shellQuoted(expandedPath(to));
    for (const std::string& option : optionsFor(questionsOf(plan))) line += " \\\n    " + option;
    return line;
}

}  // namespace

int plan(Session& session, const std::string& file, const std::string& to, PlanAs as) {
    return session.withCreation([&](const std::shared_ptr<WrapperCreation>& creation) {
        const std::string cki = expandedPath(file);
        const std::string proposed =
            files::join(folderForNewPorts(), files::withoutExtension(files::lastComponent(cki)) + ".app");
        const auto port = NSPortData::initWithCkiAtPath(cki);
        const std::string wrapper = to.empty() ? proposed : expandedPath(to);
        const BuildPlan plan =
            planOfBuild(*creation, port, wrapper, to.empty() ? Place::proposed : Place::chosen);
        if (session.console().output() == Output::json) {
            session.console().print(jsonText(asValue(plan, optionOf), JsonLayout::indented));
        } else if (as == PlanAs::commandLine) {
            if (!plan.obstacle) session.console().print(commandLine(cki, to, plan));
        } else if (!plan.stages.empty()) {
            session.console().print(shown(plan, optionOf));
        }
        if (!plan.obstacle) return static_cast<int>(done);
        return session.fail(*plan.obstacle);
    });
}

}  // namespace morvane::cli
