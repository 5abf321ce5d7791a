// runtime/wrapper_bundle.h: the wrapper around the running program, and the settings it is started with. Any
// thread; reads files only.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/result.h"
#include "wrapper/launch_options.h"
#include "wrapper/wrapper.h"

namespace morvane::runtime {

/// Which of the bundle's executables this program was started as; all are the same program.
enum class Role {
    tool,          ///< Contents/Frameworks/bin/Caskery and Contents/MacOS/CaskeryLauncher
    settingsTool,  ///< Caskery.app/Contents/MacOS/Caskery: without arguments it opens Wine's configuration
    customExe,     ///< <Other>.app/Contents/MacOS/CustomEXE: starts that application's own program
};

/// Where things lie, all found from the program's own path, so that a wrapper works wherever it is moved.
struct WrapperBundle {
    Wrapper wrapper{""};
    std::string application;  ///< the wrapper, or the Custom EXE application in it
    Role role = Role::tool;

    /// The innermost wrapper that holds the program (an absolute path without links). A failure when it lies
    /// in none.
    [[nodiscard]] static Result<WrapperBundle> around(const std::string& program);

    /// A name of this wrapper's own for its wineserver, "wrapper-<hash of the path>Wineserver". Stopping a
    /// wrapper kills by the name in the engine's `bin` that sorts last, so a name shared by all wrappers
    /// would end everybody's games.
    [[nodiscard]] std::string serverName() const;
};

/// The screen that the "Resolution" text asks for. Its colour depth, and "Fullscreen", have no counterpart
/// here: a display runs at 24 bits, and it is the game, or the window manager, that fills the screen.
struct ScreenMode {
    enum class Desktop { none, fixed, current } desktop = Desktop::none;
    int width = 0, height = 0;  ///< of a fixed desktop, in pixels
    bool operator==(const ScreenMode&) const = default;
};
/// "novdx24sleep0", "800x600x24sleep0" or "Current Resolutionx24sleep0"; anything else is no desktop.
[[nodiscard]] ScreenMode screenModeOf(std::string_view resolution);

struct LaunchSettings {
    std::string
        program;  ///< "/Program Files/Game/game.exe": on drive C, without the letter; empty when none is set
    std::string flags;  ///< one Windows argument text
    bool useStart = false;
    bool singleCpu = false;
    bool manyFiles = false;
    ScreenMode screen;
    LaunchOptions options;                  ///< the wrapper's as well
    std::vector<std::string> associations;  ///< extensions, lower case, without dots
};
/// From Info.plist, or Info.plist.cexe of a Custom EXE application; what only the wrapper has ("Disable
/// CPUs", "set max files", "Associations") from the wrapper's. A failure names the file that cannot be read.
[[nodiscard]] Result<LaunchSettings> launchSettingsOf(const WrapperBundle& bundle);

}  // namespace morvane::runtime
