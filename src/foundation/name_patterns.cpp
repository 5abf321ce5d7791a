#include "foundation/name_patterns.h"

#include <algorithm>
#include <array>

#include "foundation/file_manager.h"
#include "foundation/safe_paths.h"
#include "foundation/text.h"
#include "platform/files.h"

namespace morvane {

namespace {

/// Two or more "*": each piece in turn is taken at the first place where it fits, for good.
bool matchesInTurn(std::string_view name, const std::vector<std::string>& pieces) {
    std::string_view rest = name;
    for (std::size_t index = 0; index < pieces.size(); ++index) {
        const std::string& piece = pieces[index];
        const bool last = index + 1 == pieces.size();
        if (piece.empty()) {
            if (last) return true;
            continue;
        }
        const std::size_t at = rest.find(piece);
        if (at == std::string_view::npos || (index == 0 && at != 0)) return false;
        rest.remove_prefix(at + piece.size());
    }
    return rest.empty();
}

}  // namespace

bool NSValidInstallerDelegate::isPath(std::string_view fileName, std::string_view pattern) {
    if (pattern.empty()) return true;
    const std::string name = MVString::lowercased(fileName);
    const std::vector<std::string> pieces = MVString::split(MVString::lowercased(pattern), "*");
    if (pieces.size() == 1) return name == pieces.front();
    // The two pieces may overlap: "set*tup" matches "setup".
    if (pieces.size() == 2) return name.starts_with(pieces.front()) && name.ends_with(pieces.back());
    return matchesInTurn(name, pieces);
}

bool NSValidInstallerDelegate::shouldEnable(const std::string& path) const {
    static constexpr std::array<std::string_view, 3> installers{".exe", ".bat", ".msi"};
    if (MVFileManager::directoryExistsAtPath(path)) return true;
    const std::string name = MVString::lowercased(files::lastComponent(path));
    const bool isInstaller = std::any_of(installers.begin(), installers.end(),
                                         [&](std::string_view ending) { return name.ends_with(ending); });
    return isInstaller && isPath(name, originalInstallerName_);
}

namespace MVFileManager {

namespace {

/// The entries of the folders whose names match.
std::vector<std::string> entriesMatching(const std::string& pattern,
                                         const std::vector<std::string>& folders) {
    std::vector<std::string> matches;
    for (const std::string& folder : folders) {
        for (const std::string& name : contentsOfDirectoryAtPath(folder)) {
            if (NSValidInstallerDelegate::isPath(name, pattern)) matches.push_back(files::join(folder, name));
        }
    }
    return matches;
}

}  // namespace

std::vector<std::string> filesCompatibleWithStructure(const std::string& structure,
                                                      const std::string& folder) {
    if (!directoryExistsAtPath(folder)) return {};
    std::vector<std::string> levels = MVString::split(structure, "/");
    const std::string filePart = levels.back();
    levels.pop_back();
    std::vector<std::string> candidates{folder};
    for (const std::string& level : levels) {
        candidates = entriesMatching(level, candidates);
        // Files match as well, and a port must not reach what lies outside through a link.
        std::erase_if(candidates, [&](const std::string& candidate) {
            return !directoryExistsAtPath(candidate) || !staysInside(folder, candidate);
        });
    }
    return entriesMatching(filePart, candidates);
}

}  // namespace MVFileManager
}  // namespace morvane
