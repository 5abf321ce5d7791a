// foundation/file_manager.h: file-system actions that tell the user of their failures. Any thread; a failure
// on a worker waits for the user's dismissal.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace morvane {

enum class IntermediateFolders { no, yes };

namespace MVFileManager {

/// The destination is stored as given.
bool createSymbolicLinkAtPath(const std::string& path, const std::string& destination);
bool createDirectoryAtPath(const std::string& path, IntermediateFolders intermediate);
bool moveItemAtPath(const std::string& source, const std::string& destination);
/// Folders are copied whole; the destination must not exist.
bool copyItemAtPath(const std::string& source, const std::string& destination);
/// True without doing anything when nothing exists there, a dangling link included.
bool removeItemAtPath(const std::string& path);
/// Names, hidden ones included; empty after a reported error.
[[nodiscard]] std::vector<std::string> contentsOfDirectoryAtPath(const std::string& path);
/// Nothing after a reported error.
[[nodiscard]] std::optional<std::string> destinationOfSymbolicLinkAtPath(const std::string& path);
/// A link to a folder counts.
[[nodiscard]] bool directoryExistsAtPath(const std::string& path);
/// Something that is not a folder, links followed.
[[nodiscard]] bool regularFileExistsAtPath(const std::string& path);
/// Whether anything exists at the path, links followed.
[[nodiscard]] bool fileExistsAtPath(const std::string& path);
/// Bytes; links add nothing; 0 when it cannot be listed.
[[nodiscard]] std::uint64_t sizeOfDirectoryAtPath(const std::string& path);

}  // namespace MVFileManager
}  // namespace morvane
