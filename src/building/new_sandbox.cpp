#include "building/new_sandbox.h"

#include "foundation/localization.h"
#include "foundation/settings.h"
#include "platform/host.h"
#include "wrapper/port_manager.h"

namespace morvane {

Sandbox sandboxOfNewWrapper() {
    if (const auto chosen = sandboxOf(settings::get(settings::newWrapperSandbox))) return *chosen;
    return sandboxProgram(host().searchPath) ? Sandbox::home : Sandbox::off;
}

void giveNewSandbox(const Wrapper& wrapper) {
    NSPortManager port = NSPortManager::managerWithPath(wrapper.path());
    if (!port.plist) return;
    putSandbox(sandboxOfNewWrapper(), wrapper, *port.plist);
    static_cast<void>(port.synchronizePlist());
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
