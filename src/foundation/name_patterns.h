// foundation/name_patterns.h: file names by pattern, "*" for any run of characters, whatever the case. Any
// thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace morvane {

/// Decides which files of an installer panel can be chosen.
class NSValidInstallerDelegate {
  public:
    /// The pattern that a file's name must match.
    explicit NSValidInstallerDelegate(std::string originalInstallerName)
        : originalInstallerName_(std::move(originalInstallerName)) {}

    /// The matcher takes the first place where a piece fits and never backs up: "a*b*c" does not match
    /// "abcbc". Port authors' patterns rely on it.
    [[nodiscard]] static bool isPath(std::string_view fileName, std::string_view pattern);

    /// Folders, and matching files that end in ".exe", ".bat" or ".msi".
    [[nodiscard]] bool shouldEnable(const std::string& path) const;
    [[nodiscard]] bool validate(const std::string& path) const { return shouldEnable(path); }

  private:
    std::string originalInstallerName_;
};

namespace MVFileManager {

/// Full paths of the entries that match, each level of the pattern against one level of the folder, in
/// listing order; empty when the folder does not exist. A level "." or ".." matches nothing, and no link out
/// of the folder is followed.
[[nodiscard]] std::vector<std::string> filesCompatibleWithStructure(const std::string& structure,
                                                                    const std::string& folder);

}  // namespace MVFileManager
}  // namespace morvane
