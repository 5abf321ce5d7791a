// format_tool registry WRAPPER | size FOLDER | plist FILE: one piece of work as a command of its own, to be timed
// beside another program's (bench/compare).
#include <cstdio>
#include <string>

#include "foundation/file_manager.h"
#include "platform/property_list.h"
#include "wrapper/registry.h"

int main(int argc, char** argv) {
    using namespace morvane;
    const std::string work = argc == 3 ? argv[1] : "", path = argc == 3 ? argv[2] : "";
    if (work == "registry") {
        NSUtilities::replaceRegistryStrings(R"([Software\\Bench\\Key 100])", {{"name 3", "another"}},
                                            "system", path);
        return 0;
    }
    if (work == "size") {
        std::printf("%llu\n", static_cast<unsigned long long>(MVFileManager::sizeOfDirectoryAtPath(path)));
        return 0;
    }
    if (work == "plist") {
        const auto value = property_lists::read(path);
        return value && property_lists::write(path + ".xml", *value) ? 0 : 1;
    }
    std::fputs("usage: format_tool registry WRAPPER | size FOLDER | plist FILE\n", stderr);
    return 2;
}
