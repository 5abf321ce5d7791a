// platform/workspace.h: what a desktop does with links, files and bundles. Any thread; failures are silent.
#pragma once

#include <string>

namespace morvane::workspace {

/// With the user's browser, or the program of the link's scheme.
void openLink(const std::string& url);
/// A file with its program, a folder with the file manager.
void openPath(const std::string& path);
/// Shows the item in the file manager.
void revealPath(const std::string& path);
/// Starts the program that the bundle's "CFBundleExecutable" names, and returns at once. False when there is
/// none.
bool launchBundle(const std::string& path);
/// Brings the windows of every process that runs below the path (by its executable or its Wine prefix) to the
/// front. Needs an X display and `xdotool`; without them nothing happens.
void bringToFront(const std::string& pathPrefix);

/// Whether some application opens links of the scheme. Blocks on a program.
[[nodiscard]] bool opensScheme(const std::string& scheme);

}  // namespace morvane::workspace
