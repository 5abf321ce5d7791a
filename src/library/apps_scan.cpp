#include "library/apps_scan.h"

#include <algorithm>
#include <deque>
#include <unordered_set>
#include <utility>

#include "foundation/file_manager.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/private_folder.h"
#include "wrapper/wrapper.h"

namespace morvane {

namespace {

/// A breadth-first walk. The queue holds folders only: a folder may have very many files.
class Scan {
  public:
    explicit Scan(const std::function<bool()>& goOn) : goOn_(goOn) {}

    void walk(const std::string& root) {
        // Without the final "/", which the names bring along.
        folders_.push_back(root.substr(0, root.size() - 1));
        walkQueued();
    }

    /// Links wait until everything else has been walked, so that a folder that is reached both ways gives its
    /// items where they lie.
    void walkLinks() {
        while (!links_.empty()) {
            folders_.push_back(std::move(links_.front()));
            links_.pop_front();
            walkQueued();
        }
    }

    std::vector<LocalItem> found;

  private:
    void walkQueued() {
        for (; !folders_.empty(); folders_.pop_front()) {
            const std::string& folder = folders_.front();
            const auto real = files::resolved(folder.empty() ? "/" : folder);
            if (!real || !walked_.insert(*real).second) continue;
            const auto names = files::list(folder.empty() ? "/" : folder);
            if (!names) continue;
            for (const std::string& name : *names) {
                if (!goOn_()) return;
                look(folder + "/" + name, name);
            }
        }
    }

    void look(const std::string& path, const std::string& name) {
        if (name.ends_with(".app")) {
            if (Wrapper(path).exists()) {
                add(local_items::generateDictionaryForWrapper(path, CustomEXE::no));
                for (LocalItem& item : local_items::checkForCustomEXEsInWrapper(path)) add(std::move(item));
            }
            return;
        }
        // A Boxer bundle is looked into as well.
        if (LibraryItem::isBoxerName(name))
            add(local_items::generateDictionaryForWrapper(path, CustomEXE::no));
        const files::Kind kind = files::kindOf(path);
        if (kind == files::Kind::folder && files::PrivateFolder::isOne(name)) {
            return;  // a wrapper that is being made
        }
        if (kind == files::Kind::folder) {
            folders_.push_back(path);
        } else if (kind == files::Kind::link && MVFileManager::directoryExistsAtPath(path)) {
            links_.push_back(path);
        }
    }

    void add(LocalItem item) {
        if (isStorablePath(item.path) && paths_.insert(item.path).second) found.push_back(std::move(item));
    }

    const std::function<bool()>& goOn_;
    std::deque<std::string> folders_, links_;
    std::unordered_set<std::string> walked_, paths_;
};

}  // namespace

std::vector<LocalItem> scanAppsFolders(const std::vector<std::string>& folders,
                                       const std::function<bool()>& goOn) {
    Scan scan(goOn);
    for (const std::string& folder : folders) scan.walk(folder);
    scan.walkLinks();
    return std::move(scan.found);
}

bool isStorablePath(std::string_view path) {
    const auto isControl = [](char character) {
        return static_cast<unsigned char>(character) < 0x20 && character != '\t' && character != '\n';
    };
    return MVString::isValidUtf8(path) && std::ranges::none_of(path, isControl);
}

}  // namespace morvane
