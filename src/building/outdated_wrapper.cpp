#include "building/outdated_wrapper.h"

#include "building/wrapper_creation.h"
#include "engines/wrapper_updater.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
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
    const std::string lines =
        MVTask::runProgram("ps", std::nullopt, std::vector<std::string>{"ax"}, Wait::yes).value_or("");
    // What an update that was killed has started runs under the other name.
    return MVString::contains(lines, wrapper) ||
           MVString::contains(lines, WrapperUpdater::passingName(wrapper));
}

}  // namespace morvane::building
