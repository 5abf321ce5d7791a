// platform/files.h: file-system actions. Any thread.
//
// A failure names the path that was given; why is the system's own description ("No such file or directory").
// Paths are absolute texts, used as they are. A path that holds a NUL is refused as invalid.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/result.h"

namespace morvane::files {

enum class Kind { none, file, folder, link, other };
/// What lies at the path itself (a link is a link).
[[nodiscard]] Kind kindOf(const std::string& path);
/// What lies at the path, links followed; `none` for a dangling link, never `link`.
[[nodiscard]] Kind kindBehind(const std::string& path);
/// Whether this user may run it; a folder is never executable.
[[nodiscard]] bool isExecutable(const std::string& path);
[[nodiscard]] bool isWritable(const std::string& path);

[[nodiscard]] Result<> createSymbolicLink(const std::string& path, const std::string& destination);
[[nodiscard]] Result<std::string> destinationOfLink(const std::string& path);
/// With parents: an existing folder is a success; without: an error.
[[nodiscard]] Result<> createFolder(const std::string& path, bool withParents);
/// A rename, or a copy followed by a removal between file systems; the destination must not exist. The source
/// stays whole until the destination is; a failed copy leaves nothing behind. `goOn` as for `copy`.
[[nodiscard]] Result<> move(const std::string& source, const std::string& destination,
                            const std::function<bool()>& goOn = {});
/// Copies a file, a link (as a link) or a folder whole, with permissions and times; the destination must not
/// exist, and not lie inside the source. Shares storage where the file system can. `goOn` is asked between
/// entries and within large files; false ends with an error. After an error, what was copied so far stays.
[[nodiscard]] Result<> copy(const std::string& source, const std::string& destination,
                            const std::function<bool()>& goOn = {});
/// Removes a file, a link (never what it points at) or a folder with everything inside, read-only folders
/// included. Works with open folders, so that nothing outside is touched whatever is renamed or linked meanwhile.
/// Refused, with nothing removed: the root, the home, applications, Desktop and Downloads folders, volumes, what holds
/// one of them, and a folder in which something is mounted. Stops at the first thing that cannot be removed.
[[nodiscard]] Result<> remove(const std::string& path);
/// The names of the entries, hidden ones included, sorted by character code so that results do not depend on
/// the file system.
[[nodiscard]] Result<std::vector<std::string>> list(const std::string& folder);
/// Every path below the folder at any depth, relative to it; links are listed, not followed.
/// A folder below that cannot be read is listed without what it holds.
[[nodiscard]] Result<std::vector<std::string>> listBelow(const std::string& folder);
/// The size attribute of the item itself, in bytes; nothing when it cannot be read.
[[nodiscard]] std::optional<std::uint64_t> size(const std::string& path);
/// Bytes free for this user on the file system that holds the path.
[[nodiscard]] std::optional<std::uint64_t> freeSpace(const std::string& path);
[[nodiscard]] Result<> setPermissions(const std::string& path, unsigned mode);

inline constexpr std::uint64_t longestRead = std::uint64_t{1} << 30;  ///< bytes of a file that is read whole
/// The whole file, byte by byte. A failure at once for pipes, devices and whatever else might never end, and
/// for longer files.
[[nodiscard]] Result<std::string> read(const std::string& path);
enum class Atomically { no, yes };
/// Creates or replaces the file. Atomically: written beside it, flushed, and renamed into place, with the old
/// file's permissions kept; a link at the path is replaced by the file.
[[nodiscard]] Result<> write(const std::string& path, std::string_view bytes, Atomically atomically);

/// The path with every link and ".." resolved, as far as it exists; nothing when a link cannot be read.
[[nodiscard]] std::optional<std::string> resolved(const std::string& path);

/// A fresh folder inside the given one, named `<prefix>XXXXXX`.
[[nodiscard]] Result<std::string> createTemporaryFolder(const std::string& parent, const std::string& prefix);

/// An exclusive lock of the file (made when missing) that ends with the object, also when the process dies.
class Lock {
  public:
    /// Nothing when another process or object holds it.
    [[nodiscard]] static std::optional<Lock> tryLock(const std::string& path);
    Lock(Lock&& other) noexcept;
    Lock& operator=(Lock&& other) noexcept;
    ~Lock();

  private:
    explicit Lock(int descriptor) : descriptor_(descriptor) {}
    int descriptor_ = -1;
};

/// Text operations on paths, without touching the disk.
[[nodiscard]] std::string lastComponent(std::string_view path);  ///< "b.app" of "/a/b.app/"; "" of "/"
[[nodiscard]] std::string parent(std::string_view path);         ///< "/a" of "/a/b.app"; "/" of "/a"
[[nodiscard]] std::string extension(std::string_view path);  ///< "7z" of "/a/b.tar.7z"; "" without or ".x"
[[nodiscard]] std::string withoutExtension(std::string_view path);  ///< "/a/b.tar" of "/a/b.tar.7z"
[[nodiscard]] std::string join(std::string_view folder, std::string_view name);  ///< one "/" between

}  // namespace morvane::files
