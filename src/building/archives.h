// building/archives.h: archives of the user's and of a port's, unpacked.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace morvane {

/// What becomes of files that are there already.
enum class Replacing { no, ask, yes };

/// The archive may lie anywhere. The entries of the folder that were not there before; the archive itself
/// when its kind is not known. What is to be replaced without a question lies in a wrapper, where a patch
/// is meant to replace it.
std::vector<std::string> extractFileToFolder(const std::string& archive,
                                             const std::optional<std::string>& folder,
                                             Replacing replacing = Replacing::yes);
std::vector<std::string> extractFile(const std::string& archive);
/// The same into a fresh folder beside the archive, named after it: for the user's own folders, where an
/// archive may hold files of any name.
std::vector<std::string> extractFileApart(const std::string& archive);
/// The archive extensions of both tools, for file panels.
[[nodiscard]] std::vector<std::string> archiveExtensions();

}  // namespace morvane
