// What the programs print that know discs, graphics cards and processes.
#include <algorithm>

#include "foundation/computer_information.h"
#include "foundation/text.h"
#include "fuzz/fuzz_machine.h"
#include "fuzz/fuzzing.h"
#include "wrapper/partitions.h"
#include "wrapper/processes.h"

using namespace morvane;
using namespace morvane::fuzzing;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static_cast<void>(FuzzMachine::instance());
    const std::string report(textOf(data, size));
    // A list begins with a heading, which few inputs have.
    const std::string list =
        "/dev/disk2 (external, physical):\n   #:                       TYPE NAME     "
        "               SIZE       IDENTIFIER\n";
    for (const std::string& listing : {report, list + report}) {
        for (const auto& disk : NSPartitionMounter::mountableDisksIn(listing)) {
            require(MVString::contains(listing, disk.identifier));
        }
    }
    static_cast<void>(NSComputerInformation::graphicCardInReport(report));
    static_cast<void>(NSComputerInformation::valueInReport("Model Name", report));
    for (const std::optional<std::string>& wrapper :
         {std::optional<std::string>(), std::optional<std::string>("/g")}) {
        for (const std::string& number : NSUtilities::processesInListing(report, wrapper)) {
            // Nothing that `kill` takes for a group, an option or the system.
            require(std::ranges::all_of(number, [](char digit) { return digit >= '0' && digit <= '9'; }));
            require(!number.empty() && number.front() != '0' && number != "1");
        }
    }
    return 0;
}
