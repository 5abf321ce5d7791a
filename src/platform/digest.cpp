#include "platform/digest.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "platform/descriptor.h"

namespace morvane::digest {

struct Sha256::State {
    EVP_MD_CTX* const context = EVP_MD_CTX_new();
};

Sha256::Sha256() : state_(std::make_unique<State>()) {
    EVP_DigestInit_ex(state_->context, EVP_sha256(), nullptr);
}

Sha256::~Sha256() {
    EVP_MD_CTX_free(state_->context);
}

void Sha256::add(std::string_view bytes) {
    EVP_DigestUpdate(state_->context, bytes.data(), bytes.size());
}

std::string Sha256::end() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> sum{};
    unsigned length = 0;
    EVP_DigestFinal_ex(state_->context, sum.data(), &length);
    std::string digits;
    for (unsigned at = 0; at < length; ++at) {
        digits += "0123456789abcdef"[sum[at] >> 4];
        digits += "0123456789abcdef"[sum[at] & 15];
    }
    return digits;
}

std::string sha256(std::string_view bytes) {
    Sha256 sum;
    sum.add(bytes);
    return sum.end();
}

std::optional<std::string> sha256OfFile(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!file.valid() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    Sha256 sum;
    std::string block(std::size_t{256} << 10, '\0');
    for (;;) {
        const ssize_t count = ::read(file.get(), block.data(), block.size());
        if (count < 0) return std::nullopt;
        if (count == 0) return sum.end();
        sum.add({block.data(), static_cast<std::size_t>(count)});
    }
}

}  // namespace morvane::digest
