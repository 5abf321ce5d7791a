#include "platform/file_identity.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace morvane::files {

std::optional<std::string> identityOf(const std::string& path) {
    struct statx item {};
    if (path.find('\0') != std::string::npos ||
        statx(AT_FDCWD, path.c_str(), 0, STATX_INO | STATX_BTIME, &item) != 0 ||
        (item.stx_mask & STATX_BTIME) == 0) {
        return std::nullopt;
    }
    // Not the number of the file system, which may be another one after the next start.
    return std::to_string(item.stx_ino) + "-" + std::to_string(item.stx_btime.tv_sec) + "." +
           std::to_string(item.stx_btime.tv_nsec);
}

}  // namespace morvane::files
