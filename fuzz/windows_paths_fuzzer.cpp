// Windows paths and command lines; a path of drive C leads back to where it came from.
#include "fuzz/fuzz_machine.h"
#include "fuzz/fuzzing.h"
#include "platform/files.h"
#include "ports/exe_selection.h"
#include "wrapper/windows_paths.h"

using namespace morvane;
using namespace morvane::fuzzing;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    const FuzzMachine& machine = FuzzMachine::instance();
    const std::string line = data.ConsumeRandomLengthString(200);
    const std::string program = NSUtilities::getFileNameOfWindowsPath(line);
    const std::string flags = NSUtilities::getFlagsOfWindowsPath(line);
    require(program.size() <= line.size() + 2 && flags.size() <= line.size());
    static_cast<void>(NSUtilities::getMacPathForWindowsPath(line, machine.wrapper()));
    static_cast<void>(NSExeSelection::selectAsMainExe(line, machine.wrapper()));

    std::string place = machine.driveC() + "/" + plainText(data, 60);
    for (char& character : place) {
        if (character == '\\') character = '-';
    }
    if (place.find("//") != std::string::npos) return 0;
    const std::string windows = NSUtilities::getWindowsPathForMacPath(place, machine.wrapper());
    require(NSUtilities::getMacPathForWindowsPath(windows, machine.wrapper()) == place);
    // As the program of a run path it comes back whole, and so do its flags.
    const std::string arguments = "-" + plainText(data, 20);
    const std::string run = "\"" + windows + "\" " + arguments;
    require(NSUtilities::getFileNameOfWindowsPath(run) == windows);
    require(NSUtilities::getFlagsOfWindowsPath(run) == arguments);
    return 0;
}
