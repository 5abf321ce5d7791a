#include "server/static_files.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "foundation/text.h"
#include "platform/files.h"

namespace morvane {
namespace {

constexpr std::array<std::pair<std::string_view, const char*>, 9> contentTypes = {{
    {"css", "text/css; charset=utf-8"},
    {"gif", "image/gif"},
    {"htm", "text/html; charset=utf-8"},
    {"html", "text/html; charset=utf-8"},
    {"jpg", "image/jpeg"},
    {"png", "image/png"},
    {"svg", "image/svg+xml"},
    {"txt", "text/plain; charset=utf-8"},
    {"xml", "text/xml; charset=utf-8"},
}};

/// Whether a level of the path begins with a dot: a hidden file, or a way up.
bool hasHiddenLevel(std::string_view path) {
    return path.starts_with('.') || path.find("/.") != std::string_view::npos;
}

}  // namespace

std::optional<std::string> fileBelow(const std::string& folder, const std::string& path) {
    if (hasHiddenLevel(path) || path.find('\0') != std::string::npos) return std::nullopt;
    const auto root = files::resolved(folder), file = files::resolved(folder + "/" + path);
    if (!root || !file) return std::nullopt;
    const std::string below = root->ends_with('/') ? *root : *root + "/";
    if (!file->starts_with(below) || hasHiddenLevel(std::string_view(*file).substr(below.size())))
        return std::nullopt;
    return files::kindOf(*file) == files::Kind::file ? file : std::nullopt;
}

std::string contentTypeOf(const std::string& path) {
    const std::string ending = MVString::lowercased(files::extension(path));
    const auto* found = std::find_if(contentTypes.begin(), contentTypes.end(),
                                     [&](const auto& type) { return type.first == ending; });
    return found == contentTypes.end() ? "application/octet-stream" : found->second;
}

}  // namespace morvane
