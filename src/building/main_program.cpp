#include "building/main_program.h"

// The stage that makes sure that the program which the wrapper starts is there.

#include "building/build.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/name_patterns.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "wrapper/port_manager.h"
#include "wrapper/windows_paths.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

bool exists(const std::optional<std::string>& path) {
    return path && MVFileManager::fileExistsAtPath(*path);
}

/// Looks for the main program with one level of its path, counted from the empty piece before the first "/",
/// made variable; what it finds becomes the setting.
std::optional<std::string> alternateMainExePath(NSPortManager& port, std::size_t variableLevel) {
    const auto program = port.find(wrapper_keys::program);
    if (!program) return std::nullopt;
    auto levels = MVString::split(*program, "/");
    if (levels.size() < 3) return program;
    levels[variableLevel] = "*";
    auto completed = completeWindowsPath("C:" + MVString::joined(levels, "/"), Wrapper(port.path));
    if (!completed || completed->size() < 3) return completed;
    port.set(wrapper_keys::program, completed->substr(2));
    port.synchronizePlist();
    return NSUtilities::getMacPathForWindowsPath(*completed, port.path);
}

}  // namespace

std::optional<std::string> confirmMainExePathForPort(NSPortManager& port,
                                                     const std::optional<std::string>& source) {
    const bool isGog = source == "GOG";
    const auto expected = mainExePathFromPort(port);
    if (exists(expected)) return expected;
    std::optional<std::string> found;
    if (isGog) found = alternateMainExePathForGOGPort(port);
    if (!exists(found)) found = alternateMainExePathForPort(port);
    if (exists(found)) {
        if (isGog)
            MVAlert::showAlertMessage(
                localized("The run path changed in that port! Alert the developer through the "
                          "Contact Us tab in the Help section!"),
                "Warning");
        return found;
    }
    MVAlert::showAlertMessage(localized("%@ main EXE couldn't be found!",
                                        {files::withoutExtension(files::lastComponent(port.path))}),
                              "Warning");
    return expected;
}

std::optional<std::string> mainExePathFromPort(const NSPortManager& port) {
    const auto program = port.find(wrapper_keys::program);
    if (!program) return std::nullopt;
    return NSUtilities::getMacPathForWindowsPath("C:" + *program, port.path);
}

std::optional<std::string> alternateMainExePathForPort(NSPortManager& port) {
    return alternateMainExePath(port, 1);
}

std::optional<std::string> alternateMainExePathForGOGPort(NSPortManager& port) {
    return alternateMainExePath(port, 2);
}

std::optional<std::string> completeWindowsPath(const std::string& windowsPath, const Wrapper& wrapper) {
    const auto driveC = NSUtilities::getMacPathForWindowsPath("C:/", wrapper.path());
    if (!driveC || windowsPath.size() < 3) return std::nullopt;
    const std::string pattern = MVString::replacedAll(windowsPath.substr(3), "\\", "/");
    const auto matches = MVFileManager::filesCompatibleWithStructure(pattern, *driveC);
    if (matches.empty()) return std::nullopt;
    return NSUtilities::getWindowsPathForMacPath(matches.front(), wrapper.path());
}

}  // namespace morvane
