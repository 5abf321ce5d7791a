#include "platform/folder_handles.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>

namespace morvane::files {

namespace {

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

}  // namespace

Failure failureAt(const std::string& path, int number) {
    return {.what = path, .why = std::generic_category().message(number)};
}

Failure lastFailure(const std::string& path) {
    return failureAt(path, errno);
}

bool usable(std::string_view path) {
    if (path.find('\0') == std::string_view::npos) return true;
    errno = EINVAL;
    return false;
}

std::optional<std::vector<std::string>> entriesOf(int folder) {
    // A descriptor of its own: the stream owns what it is given, and a shared one would share the reading
    // position.
    const int own = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (own < 0) return std::nullopt;
    const std::unique_ptr<DIR, CloseFolder> stream(::fdopendir(own));
    if (!stream) {
        const int number = errno;
        ::close(own);
        errno = number;
        return std::nullopt;
    }
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(stream.get());
        if (entry == nullptr) break;
        std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(std::move(name));
    }
    if (errno != 0) return std::nullopt;
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace morvane::files
