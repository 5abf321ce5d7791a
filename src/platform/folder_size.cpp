#include "platform/folder_size.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <memory>
#include <string_view>

#include "platform/descriptor.h"

namespace morvane::files {

namespace {

struct Closing {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

/// The names are looked up in the open folder: no path is put together, and none is walked again.
std::uint64_t sizeIn(Descriptor opened) {
    const int descriptor = opened.get();
    const std::unique_ptr<DIR, Closing> folder(opened.valid() ? ::fdopendir(descriptor) : nullptr);
    if (!folder) return 0;
    static_cast<void>(opened.release());  // closed with the folder
    std::uint64_t total = 0;
    while (const dirent* const entry = ::readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == ".." || entry->d_type == DT_LNK) continue;
        struct stat status {};
        if (::fstatat(descriptor, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
        if (S_ISLNK(status.st_mode)) continue;
        total += static_cast<std::uint64_t>(status.st_size);
        if (!S_ISDIR(status.st_mode)) continue;
        constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
        total += sizeIn(Descriptor(::openat(descriptor, entry->d_name, flags)));
    }
    return total;
}

}  // namespace

std::uint64_t sizeBelow(const std::string& folder) {
    if (folder.find('\0') != std::string::npos) return 0;
    return sizeIn(Descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
}

}  // namespace morvane::files
