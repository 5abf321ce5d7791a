// Reads anything as a shortcut, for its path and its flags, and as an internet shortcut.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "ports/exe_selection.h"

using namespace morvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view contents(reinterpret_cast<const char*>(data), size);
    const std::string path = NSExeSelection::getLNKPathFromFileContents(contents, ".EXE");
    static_cast<void>(NSExeSelection::getLNKFlagsFromFileContents(contents, path));
    static_cast<void>(NSExeSelection::getEXEFileFromDESKTOPFileContents(contents));
    static_cast<void>(NSExeSelection::getURLFlagsFromSteamFileContents(contents));
    return 0;
}
