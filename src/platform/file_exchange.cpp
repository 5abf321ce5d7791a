#include "platform/file_exchange.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "platform/files.h"

namespace morvane::files {

Result<> exchange(const std::string& one, const std::string& other) {
    if (::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0) return {};
    if (errno != EINVAL && errno != ENOSYS) return Failure{one, std::generic_category().message(errno)};
    const std::string aside = other + ".aside";
    if (auto moved = move(other, aside); !moved) return moved;
    if (auto moved = move(one, other); !moved) {
        static_cast<void>(move(aside, other));
        return moved;
    }
    return move(aside, one);
}

}  // namespace morvane::files
