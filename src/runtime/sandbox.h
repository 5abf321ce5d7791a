// runtime/sandbox.h: the sandbox around what runs in a wrapper: bubblewrap and its arguments. Any thread.
//
// Each program gets a view of the files of its own (bubblewrap makes one for each start), but all of one wrapper
// share what Wine's programs meet in: the folder for what passes, in which the wineserver has its own, and the
// wineserver's user namespace, without which it could not read its clients' memory.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "runtime/wrapper_bundle.h"
#include "wrapper/sandbox.h"

namespace morvane::runtime {

/// What the sandbox of one start is made from. All paths are absolute.
struct SandboxView {
    Sandbox mode = Sandbox::off;
    Wrapper wrapper{""};
    std::vector<std::string> hidden;    ///< folders of users, real paths; those above come first
    std::string temporary;              ///< what it sees as "/tmp"
    std::string runtimeFolder;          ///< `XDG_RUNTIME_DIR`; empty where there is none
    std::vector<std::string> readable;  ///< out of the hidden folders, for this start
    std::vector<std::string> writable;  ///< folders that drives name, and those that the user has noted
    std::map<std::string, std::string> links;  ///< by their places, to where they lead
};

/// What is not the machine's own; beside "/tmp" each start has these to itself.
inline constexpr std::array emptied{"/var/tmp", "/run"};

/// The user's own folders and those of others, as far as they are there.
[[nodiscard]] std::vector<std::string> hiddenFolders();
/// What the wrapper's drives and its noted folders make writable: never a folder that holds a hidden one. What
/// a link of drive C names without having been noted is left out. Both are told.
[[nodiscard]] std::vector<std::string> writableFolders(const Wrapper& wrapper, const Dictionary& settings,
                                                       const std::vector<std::string>& hidden);
/// The places that drives name and that are, or lie behind, links; to the folders that those lead to.
[[nodiscard]] std::map<std::string, std::string> linksOfDrives(const Wrapper& wrapper,
                                                               const std::vector<std::string>& hidden);
/// What a program needs to read: its folder, the whole disc where it lies on one, only the program itself where
/// users' folders lie beside it.
[[nodiscard]] std::string readableAround(const std::string& program, const std::vector<std::string>& hidden,
                                         const std::vector<std::string>& discs);

/// The arguments of bubblewrap up to the program. Whatever is missing on this machine (a device, a socket) is
/// left out. `environment` is the program's.
[[nodiscard]] std::vector<std::string> sandboxArguments(
    const SandboxView& view, const std::map<std::string, std::string>& environment);

}  // namespace morvane::runtime
