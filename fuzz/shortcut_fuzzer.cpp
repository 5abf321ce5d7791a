// Reads anything as a shortcut, an internet shortcut, a desktop entry and an autorun file.
#include "fuzz/fuzz_machine.h"
#include "fuzz/fuzzing.h"
#include "ports/exe_selection.h"

using namespace morvane;
using namespace morvane::fuzzing;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzMachine& machine = FuzzMachine::instance();
    const std::string wrapper = machine.wrapper();
    const std::string_view contents = textOf(data, size);
    for (const char* type : {".EXE", ".LNK"}) {
        const std::string path = NSExeSelection::getLNKPathFromFileContents(contents, type);
        static_cast<void>(NSExeSelection::getLNKFlagsFromFileContents(contents, path));
        static_cast<void>(NSExeSelection::pathByUpdatingPath(path, wrapper));
    }
    static_cast<void>(NSExeSelection::getEXEFileFromDESKTOPFileContents(contents));
    const std::string path = NSExeSelection::getDESKTOPPathFromFileContents(contents, wrapper);
    static_cast<void>(NSExeSelection::getDESKTOPFlagsFromFileContents(contents, path, wrapper));
    static_cast<void>(NSExeSelection::getURLFlagsFromSteamFileContents(contents));

    const std::string file = machine.driveC() + "/AUTORUN.INF";
    machine.put(file, contents);
    static_cast<void>(NSExeSelection::getAutorunPathFromFile(file, wrapper));
    // Looked for beside the file: it can only be what lies on that disc.
    const auto program = NSExeSelection::autorunProgram(file);
    require(!program ||
            files::resolved(*program).value_or("").starts_with(*files::resolved(machine.driveC())));
    return 0;
}
