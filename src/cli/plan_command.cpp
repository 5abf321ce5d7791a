#include "building/build_plan.h"
#include "cli/commands.h"
#include "platform/json.h"
#include "ports/port_data.h"

namespace morvane::cli {

int plan(Session& session, const std::string& file, const std::string& wrapper) {
    return session.withCreation([&](WrapperCreation& creation) {
        const auto port = NSPortData::initWithCkiAtPath(expandedPath(file));
        const BuildPlan plan = planOfBuild(
            creation, port, wrapper.empty() ? std::nullopt : std::optional(expandedPath(wrapper)));
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
