#include "building/build_plan.h"
#include "cli/commands.h"
#include "platform/files.h"
#include "platform/json.h"
#include "ports/port_data.h"

namespace morvane::cli {

int plan(Session& session, const std::string& file, const std::string& wrapper) {
    return session.withCreation([&](WrapperCreation& creation) {
        const std::string cki = expandedPath(file);
        const std::string proposed = files::join(WrapperCreation::folderForNewPorts(),
                                                 files::withoutExtension(files::lastComponent(cki)) + ".app");
        const auto port = NSPortData::initWithCkiAtPath(cki);
        const BuildPlan plan = wrapper.empty()
                                   ? planOfBuild(creation, port, proposed, Place::proposed)
                                   : planOfBuild(creation, port, expandedPath(wrapper), Place::chosen);
        if (session.console().output() == Output::json) {
            session.console().print(jsonText(asValue(plan), JsonLayout::indented));
        } else if (!plan.stages.empty()) {
            session.console().print(shown(plan));
        }
        if (!plan.obstacle) return static_cast<int>(done);
        return session.fail(*plan.obstacle);
    });
}

}  // namespace morvane::cli
