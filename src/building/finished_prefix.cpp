#include "building/finished_prefix.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <random>
#include <vector>

#include "platform/digest.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/layout.h"
#include "wrapper/wrapper.h"

namespace morvane::building {

namespace {

/// What a prefix consists of, in the order in which it comes into the wrapper: the system's registry, by which a
/// prefix is known to be there, last. Nothing else is copied: some Wines note in a file of their own where the server
/// of this one prefix lives.
constexpr std::array partsOfPrefix{"drive_c",     "dosdevices", ".update-timestamp",
                                   "userdef.reg", "user.reg",   "system.reg"};
constexpr const char* registry = "system.reg";
/// In the registry, what has to be each wrapper's own.
constexpr std::array identifiers{"\"MachineGuid\"=\"", "\"VideoID\"=\"{"};
constexpr std::size_t identifierSize = 36;

constexpr const char* contents = "contents";
constexpr const char* listName = "list";
constexpr const char* usedName = "used";
constexpr const char* passingPrefix = ".passing-";
/// So much of the disk stays free, in bytes, when a prefix is kept: a game has yet to come.
constexpr std::uint64_t leftFree = std::uint64_t{2} << 30;

std::string store() {
    return files::join(layout::supportFolder(), "Prefixes");
}

bool goOn() {
    host().creation.throwIfRequested();
    return true;
}

/// Removed with everything inside unless it has been moved away.
struct Passing {
    explicit Passing(std::string folder) : path(std::move(folder)) {}
    Passing(const Passing&) = delete;
    Passing& operator=(const Passing&) = delete;
    ~Passing() { static_cast<void>(files::remove(path)); }
    const std::string path;
};

/// Each entry below the folder on a line, with what it is: two folders with one list are the same.
std::optional<std::string> listOf(const std::string& folder) {
    const auto paths = files::listBelow(folder);
    if (!paths) return std::nullopt;
    std::string list;
    for (const std::string& path : *paths) {
        const std::string whole = files::join(folder, path);
        std::string content;
        switch (files::kindOf(whole)) {
            case files::Kind::folder:
                content = "folder";
                break;
            case files::Kind::link:
                content = "link " + files::destinationOfLink(whole).value_or("");
                break;
            case files::Kind::file:
                content = digest::sha256OfFile(whole).value_or("");
                break;
            default:
                return std::nullopt;
        }
        if (content.empty()) return std::nullopt;
        list += content + " " + path + "\n";
        goOn();
    }
    return list;
}

std::uint64_t sizeBelow(const std::string& folder) {
    std::uint64_t sum = 0;
    for (const std::string& path : files::listBelow(folder).value_or(std::vector<std::string>()))
        sum += files::size(files::join(folder, path)).value_or(0);
    return sum;
}

std::string freshIdentifier() {
    std::random_device device;
    std::uniform_int_distribution<unsigned> digit(0, 15);
    std::string text = "xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx";
    for (char& character : text) {
        if (character == 'x') character = "0123456789abcdef"[digit(device)];
        if (character == 'y') character = "89ab"[digit(device) & 3];
    }
    return text;
}

/// Gives the copy identifiers that no other wrapper has.
bool makeOwn(const std::string& folder) {
    const std::string path = files::join(folder, registry);
    auto text = files::read(path);
    if (!text) return false;
    for (const std::string_view key : identifiers) {
        const std::string line = "\n" + std::string(key);
        const std::size_t start = text->find(line);
        if (start == std::string::npos || text->size() - start < line.size() + identifierSize) continue;
        const std::string old = text->substr(start + line.size(), identifierSize), fresh = freshIdentifier();
        for (std::size_t at = text->find(old); at != std::string::npos; at = text->find(old, at))
            text->replace(at, identifierSize, fresh);
    }
    return files::write(path, *text, files::Atomically::no).has_value();
}

bool hasAny(const std::string& prefix) {
    return std::ranges::any_of(partsOfPrefix, [&](const char* part) {
        return files::kindOf(files::join(prefix, part)) != files::Kind::none;
    });
}

/// Copies what there is of a prefix; false after a failure.
bool copyParts(const std::string& from, const std::string& to) {
    return std::ranges::all_of(partsOfPrefix, [&](const char* part) {
        const std::string source = files::join(from, part);
        return files::kindOf(source) == files::Kind::none ||
               files::copy(source, files::join(to, part), goOn).has_value();
    });
}

/// Removes what killed processes have left, and what has not been used for the longest time.
void tidyStore() {
    const auto names = files::list(store());
    if (!names) return;
    std::vector<std::pair<std::string, std::string>> kept;  // by the time of the last use
    for (const std::string& name : *names) {
        const std::string path = files::join(store(), name);
        if (name.starts_with(passingPrefix)) {
            static_cast<void>(files::remove(path));
        } else {
            kept.emplace_back(files::read(files::join(path, usedName)).value_or(""), path);
        }
    }
    std::ranges::sort(kept, std::greater<>());
    for (std::size_t at = FinishedPrefix::mostKept; at < kept.size(); ++at)
        static_cast<void>(files::remove(kept[at].second));
}

void noteUse(const std::string& place) {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    // Of one length: compared as text.
    const std::string text =
        std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
    static_cast<void>(files::write(files::join(place, usedName), text, files::Atomically::yes));
}

void log(const std::string& text) {
    host().log.write(Log::Level::info, "finished prefix: " + text);
}

}  // namespace

FinishedPrefix::FinishedPrefix(const Wrapper& wrapper) {
    if (const auto mark = markOfPrefix(wrapper)) place_ = files::join(store(), *mark);
}

bool FinishedPrefix::copyInto(const Wrapper& wrapper) const {
    if (place_.empty() || files::kindOf(place_) != files::Kind::folder || hasAny(wrapper.prefix()))
        return false;
    const std::string source = files::join(place_, contents);
    const auto list = files::read(files::join(place_, listName));
    if (!list || list->empty() || listOf(source) != *list) {
        log(place_ + " is damaged");
        static_cast<void>(files::remove(place_));
        return false;
    }
    const auto folder = files::createTemporaryFolder(wrapper.prefix(), passingPrefix);
    if (!folder) return false;
    const Passing passing(*folder);
    if (!copyParts(source, passing.path) || !makeOwn(passing.path)) return false;
    for (const char* part : partsOfPrefix) {
        const std::string copy = files::join(passing.path, part), place = files::join(wrapper.prefix(), part);
        if (files::kindOf(copy) == files::Kind::none || files::move(copy, place)) continue;
        for (const char* placed : partsOfPrefix)
            static_cast<void>(files::remove(files::join(wrapper.prefix(), placed)));
        return false;
    }
    noteUse(place_);
    log(wrapper.path() + " has a copy of " + place_);
    return true;
}

void FinishedPrefix::keep(const Wrapper& wrapper) const {
    if (place_.empty() || !files::createFolder(store(), true)) return;
    tidyStore();
    if (files::kindOf(place_) != files::Kind::none) return;
    const auto space = files::freeSpace(store());
    if (space && *space < sizeBelow(wrapper.driveC()) + leftFree) return log("no room for one more");
    const auto folder = files::createTemporaryFolder(store(), passingPrefix);
    if (!folder) return;
    const Passing passing(*folder);
    const std::string copy = files::join(passing.path, contents);
    if (!files::createFolder(copy, false) || !copyParts(wrapper.prefix(), copy)) return log("not kept");
    const auto list = listOf(copy);
    if (!list || !files::write(files::join(passing.path, listName), *list, files::Atomically::yes)) return;
    noteUse(passing.path);
    if (!files::move(passing.path, place_)) return log("not kept");
    tidyStore();
}

}  // namespace morvane::building
