#include "platform/free_room.h"

#include <sys/statvfs.h>

#include <algorithm>

namespace morvane::files {

namespace {

/// Between two looks at the free space, so much is written.
constexpr std::uint64_t stretch = std::uint64_t{8} << 20;

/// Bytes free for this user where the folder lies; nothing where the file system does not tell.
std::optional<std::uint64_t> freeIn(int folder) {
    struct statvfs status {};
    if (::fstatvfs(folder, &status) != 0 || status.f_blocks == 0) return std::nullopt;
    return static_cast<std::uint64_t>(status.f_bavail) * status.f_frsize;
}

}  // namespace

FreeRoom::FreeRoom(int folder, std::optional<std::uint64_t> missing) : nextLook_(missing ? UINT64_MAX : 0) {
    const auto space = freeIn(folder);
    if (!space) return;
    fits_ = missing.value_or(0) <= *space;
    if (!missing) floor_ = std::min(reserve, *space / 10);
}

bool FreeRoom::isLeft(int folder, std::uint64_t written) {
    if (written < nextLook_) return true;
    nextLook_ = written + std::min(stretch, std::max<std::uint64_t>(floor_ / 2, 1));
    const auto space = freeIn(folder);
    return !space || *space > floor_;
}

}  // namespace morvane::files
