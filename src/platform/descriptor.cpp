#include "platform/descriptor.h"

#include <sys/random.h>

#include <array>
#include <cerrno>

namespace morvane {

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

std::string randomDigits() {
    std::array<unsigned char, 8> random{};
    if (::getrandom(random.data(), random.size(), 0) < 0) random[0] = static_cast<unsigned char>(::getpid());
    std::string digits;
    for (const unsigned char byte : random) {
        digits += "0123456789abcdef"[byte >> 4];
        digits += "0123456789abcdef"[byte & 15];
    }
    return digits;
}

}  // namespace morvane
