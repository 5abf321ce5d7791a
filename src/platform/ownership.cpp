#include "platform/ownership.h"

#include <sys/stat.h>
#include <unistd.h>

namespace morvane::files {

bool isOwn(const std::string& path) {
    struct stat entry {};
    return ::lstat(path.c_str(), &entry) == 0 && entry.st_uid == ::geteuid();
}

}  // namespace morvane::files
