// format_tool registry WRAPPER | size FOLDER | plist FILE | copy FROM TO | download ADDRESS FILE: one piece of work as a
// command of its own, to be timed beside another program's (bench/compare).
#include <cstdio>
#include <string>
#include <vector>

#include "cli/session.h"
#include "foundation/download.h"
#include "foundation/file_manager.h"
#include "platform/files.h"
#include "platform/property_list.h"
#include "wrapper/registry.h"

namespace {

using namespace morvane;

int downloaded(const std::string& address, const std::string& path) {
    cli::Session session(cli::Output::text, {});
    return session.onWorker([&] {
        Download(session.progress()).downloadFile(address, path, Silence::yes);
        return files::size(path).value_or(0) > 0 ? 0 : 1;
    });
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const std::string work = words.empty() ? "" : words.front();
    if (work == "registry" && words.size() == 2) {
        NSUtilities::replaceRegistryStrings(R"([Software\\Bench\\Key 100])", {{"name 3", "another"}},
                                            "system", words[1]);
        return 0;
    }
    if (work == "size" && words.size() == 2) {
        std::printf("%llu\n",
                    static_cast<unsigned long long>(MVFileManager::sizeOfDirectoryAtPath(words[1])));
        return 0;
    }
    if (work == "plist" && words.size() == 2) {
        const auto value = property_lists::read(words[1]);
        return value && property_lists::write(words[1] + ".xml", *value) ? 0 : 1;
    }
    if (work == "copy" && words.size() == 3) return files::copy(words[1], words[2]) ? 0 : 1;
    if (work == "download" && words.size() == 3) return downloaded(words[1], words[2]);
    std::fputs(
        "usage: format_tool registry WRAPPER | size FOLDER | plist FILE | copy FROM TO | "
        "download ADDRESS FILE\n",
        stderr);
    return 2;
}
