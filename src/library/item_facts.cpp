#include "library/item_facts.h"

#include <sys/stat.h>

#include "foundation/file_manager.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "wrapper/wrapper.h"

namespace morvane {

ItemFacts factsOfItem(const std::string& path) {
    const LibraryItem item(path);
    ItemFacts facts;
    facts.size = MVFileManager::sizeOfDirectoryAtPath(path);
    if (!item.isWrapper() && !item.isCustomEXE()) return facts;
    const Wrapper wrapper = item.wrapper();
    if (const auto engine = files::read(wrapper.engineVersion())) facts.engine = MVString::trimmed(*engine);
    // The engine's server writes it when the last program has ended.
    struct stat registry {};
    const std::string file = wrapper.prefix() + "/user.reg";
    if (::stat(file.c_str(), &registry) == 0) facts.used = registry.st_mtime;
    return facts;
}

}  // namespace morvane
