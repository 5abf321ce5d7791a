#include "building/outdated_wrapper.h"

#include <algorithm>

#include "building/wrapper_creation.h"
#include "engines/wrapper_updater.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "platform/own_process.h"
#include "wrapper/port_manager.h"

namespace morvane::building {

std::optional<OutdatedWrapper> outdatedWrapper(const std::string& wrapper) {
    auto newest = WrapperCreation::getNewestCaskeryVersion();
    if (!newest) newest = WrapperCreation::getCurrentCaskeryVersion();
    if (!newest) return std::nullopt;
    auto version = WrapperUpdater::versionBeforeUnfinishedUpdate(wrapper);
    if (!version) {
        const auto setting = NSUtilities::getPlistItem("CFBundleVersion", wrapper);
        const auto* text = setting ? setting->as<std::string>() : nullptr;
        version = text != nullptr ? *text : "";
    }
    *version = MVString::replacedAll(*version, " ", "-");
    if (version == newest) return std::nullopt;
    return OutdatedWrapper{*version, *newest};
}

bool isWrapperInUse(const std::string& wrapper) {
    // What an update that was killed has started runs under the other name.
    const std::string away = WrapperUpdater::passingName(wrapper);
    // Whoever asks has the path on the own command line.
    const auto own = processes::ownLine();
    const auto lines =
        MVTask::runProgram("ps", std::nullopt, std::vector<std::string>{"ax"}, Wait::yes).value_or("");
    return std::ranges::any_of(MVString::split(lines, "\n"), [&](const std::string& line) {
        if (!MVString::contains(line, wrapper) && !MVString::contains(line, away)) return false;
        const std::string trimmed = MVString::trimmed(line);
        return std::ranges::find(own, trimmed.substr(0, trimmed.find(' '))) == own.end();
    });
}

}  // namespace morvane::building
