#include "building/new_sandbox.h"

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/settings.h"
#include "platform/host.h"
#include "wrapper/port_manager.h"

namespace morvane {

Sandbox sandboxOfNewWrapper() {
    if (const auto chosen = sandboxOf(settings::get(settings::newWrapperSandbox))) return *chosen;
    return sandboxProgram(host().searchPath) ? Sandbox::home : Sandbox::off;
}

bool giveNewSandbox(const Wrapper& wrapper) {
    NSPortManager port = NSPortManager::managerWithPath(wrapper.path());
    if (port.plist) {
        if (port.plist->find(wrapper_keys::sandbox.name) != nullptr) return true;
        putSandbox(sandboxOfNewWrapper(), wrapper, *port.plist);
        if (port.synchronizePlist()) return true;
    }
    MVAlert::showAlertErrorMessage(localized("The sandbox of %@ could not be saved.", {wrapper.path()}));
    return false;
}

std::optional<std::string> newsOfSandbox() {
    if (settings::find(settings::newWrapperSandbox) || settings::get(settings::toldOfSandbox))
        return std::nullopt;
    settings::set(settings::toldOfSandbox, true);
    if (const auto program = sandboxProgram(host().searchPath); !program) {
        return localized("New apps run without a sandbox and may read all your files. %@",
                         {program.error().message()});
    }
    return localized(
        "New apps run in a sandbox: they see none of your files but their own. The properties of each change "
        "that, and the setting \"New Wrapper Sandbox\" what new ones begin with.");
}

}  // namespace morvane
