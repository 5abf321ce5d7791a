#include "building/engine_archives.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>

#include "building/archives.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/http.h"

namespace morvane::engine_archives {

namespace {

/// Kinds that engines come in beside those that every stage unpacks. "gz" is also what a link without any
/// extension is stored as.
constexpr std::array<std::string_view, 6> furtherKinds{"gz", "bz2", "tgz", "tbz", "tbz2", "txz"};

}  // namespace

bool isFurtherKind(std::string_view extension) {
    return std::ranges::find(furtherKinds, extension) != furtherKinds.end();
}

std::vector<std::string> kinds() {
    std::vector<std::string> all = archiveExtensions();
    all.insert(all.end(), furtherKinds.begin(), furtherKinds.end());
    return all;
}

bool isArchiveKind(std::string_view extension) {
    const std::vector<std::string> known = kinds();
    return std::ranges::find(known, MVString::lowercased(extension)) != known.end();
}

bool isArchiveOf(const std::string& entry, const std::string& engine) {
    if (!entry.starts_with(engine + ".")) return false;
    std::string kind = MVString::lowercased(std::string_view(entry).substr(engine.size() + 1));
    if (kind.starts_with("tar.")) kind.erase(0, 4);
    const std::vector<std::string> known = kinds();
    return std::ranges::find(known, kind) != known.end();
}

bool isTar(const std::string& path) {
    constexpr std::streamoff magicAt = 257;
    std::array<char, 5> magic{};
    std::ifstream file(path, std::ios::binary);
    file.seekg(magicAt);
    file.read(magic.data(), magic.size());
    return file && std::string_view(magic.data(), magic.size()) == "ustar";
}

std::string extensionOfLink(const std::string& link) {
    const auto parts = parseUrl(link);
    const std::string path = parts ? parts->path : link.substr(0, link.find_first_of("?#"));
    const std::string extension = files::extension(files::lastComponent(path));
    if (isArchiveKind(extension)) return extension;
    const std::string withoutFragment = link.substr(0, link.find('#'));
    std::string query = withoutFragment.substr(std::min(withoutFragment.find('?'), withoutFragment.size()));
    std::ranges::replace_if(
        query, [](char each) { return each == '&' || each == '?'; }, '\n');
    for (const std::string& value : MVString::split(query, "\n")) {
        const std::string inQuery = files::extension(value);
        if (isArchiveKind(inQuery)) return inQuery;
    }
    return extension.empty() ? "tar.gz" : extension;
}

std::string kindByFirstBytes(const std::string& path) {
    struct Beginning {
        std::string_view bytes, kind;
    };
    using namespace std::string_view_literals;
    constexpr std::array beginnings{Beginning{"7z\xBC\xAF\x27\x1C"sv, "7z"},
                                    Beginning{"\xFD"
                                              "7zXZ\0"sv,
                                              "xz"},
                                    Beginning{"\x1F\x8B"sv, "gz"}, Beginning{"PK\3\4"sv, "zip"},
                                    Beginning{"BZh"sv, "bz2"}};
    std::array<char, 6> bytes{};
    std::ifstream(path, std::ios::binary).read(bytes.data(), bytes.size());
    const std::string_view start(bytes.data(), bytes.size());
    const auto* found = std::ranges::find_if(
        beginnings, [start](const Beginning& each) { return start.starts_with(each.bytes); });
    if (found != beginnings.end()) return std::string(found->kind);
    return isTar(path) ? "tar" : "";
}

}  // namespace morvane::engine_archives
