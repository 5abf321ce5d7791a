// Names against patterns; a search by pattern stays in its folder.
#include "foundation/name_patterns.h"
#include "foundation/text.h"
#include "fuzz/fuzz_machine.h"
#include "fuzz/fuzzing.h"

using namespace morvane;
using namespace morvane::fuzzing;

namespace {

std::string gameFolder() {
    static const std::string folder = [] {
        const FuzzMachine& machine = FuzzMachine::instance();
        const std::string place = machine.driveC() + "/Games";
        machine.put(place + "/Setup/Disk1/setup.exe", "");
        machine.put(place + "/setup.msi", "");
        static_cast<void>(files::createSymbolicLink(place + "/up", ".."));
        static_cast<void>(files::createSymbolicLink(place + "/Setup/root", "/"));
        return *files::resolved(place);
    }();
    return folder;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    std::string name = data.ConsumeRandomLengthString(40);
    const std::string pattern = data.ConsumeRandomLengthString(40);
    static_cast<void>(NSValidInstallerDelegate::isPath(name, pattern));
    std::erase(name, '*');
    require(NSValidInstallerDelegate::isPath(name, "*"));
    require(NSValidInstallerDelegate::isPath(name, name));
    if (MVString::isValidUtf8(name))
        require(NSValidInstallerDelegate::isPath(MVString::lowercased(name), name));
    for (const std::string& found : MVFileManager::filesCompatibleWithStructure(pattern, gameFolder())) {
        // What is found may be a link of the user's own; none has been followed on the way to it.
        const auto real = files::resolved(files::parent(found));
        require(real && (*real + "/").starts_with(gameFolder() + "/"));
    }
    return 0;
}
