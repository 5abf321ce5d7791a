#include "library/source_icons.h"

#include "foundation/file_manager.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"

namespace morvane {
namespace {

std::string imageOfSource(const std::string& source) {
    const std::string name = MVString::lowercased(source);
    const std::string& resources = host().folders.resources;
    if (name.find('/') == std::string::npos) {
        for (const char* ending : {"_a.png", ".png"}) {
            const std::string path = files::join(resources, name + ending);
            if (MVFileManager::regularFileExistsAtPath(path)) return path;
        }
    }
    return source == "Local" ? "/" : files::join(resources, "other.png");
}

}  // namespace

std::vector<SourceIcon> setSourceIcons(const std::vector<std::string>& sources) {
    std::vector<SourceIcon> icons;
    for (const std::string& source : sources) icons.push_back({source, imageOfSource(source)});
    return icons;
}

}  // namespace morvane
