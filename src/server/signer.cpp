#include "server/signer.h"

#include <fcntl.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "foundation/localization.h"
#include "platform/descriptor.h"
#include "platform/files.h"

namespace morvane {
namespace {

constexpr std::size_t secretBytes = 32;
constexpr mode_t ownerOnly = 0600;

std::string hex(const unsigned char* bytes, std::size_t count) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (std::size_t at = 0; at < count; ++at) text += {digits[bytes[at] >> 4], digits[bytes[at] & 0xF]};
    return text;
}

/// Another process that makes its secret at the same time wins or loses as a whole: the file is never seen
/// half written.
bool makeSecret(const std::string& path) {
    const std::string fresh = path + "." + randomHex(8);
    const std::string secret = randomHex(secretBytes);
    const Descriptor file(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, ownerOnly));
    const bool written =
        file.valid() &&
        ::write(file.get(), secret.data(), secret.size()) == static_cast<ssize_t>(secret.size()) &&
        ::fsync(file.get()) == 0 && (::link(fresh.c_str(), path.c_str()) == 0 || errno == EEXIST);
    const int error = errno;
    ::unlink(fresh.c_str());
    errno = error;
    return written;
}

}  // namespace

Result<Signer> Signer::withSecretAt(const std::string& path) {
    if (files::kindBehind(path) == files::Kind::none && !makeSecret(path))
        return Failure{localized("The server's secret cannot be written to %@: %@", {path, strerror(errno)})};
    auto read = files::read(path);
    if (!read) return read.error();
    std::string secret = *std::move(read);
    if (secret.size() < secretBytes)
        return Failure{
            localized("The server's secret in %@ is damaged. Without the file, a new one is made, "
                      "and voters count as new ones.",
                      {path})};
    return Signer(std::move(secret));
}

std::string Signer::sign(std::string_view purpose, std::string_view text) const {
    std::string message(purpose);
    message += '\0';
    message += text;
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    HMAC(EVP_sha256(), secret_.data(), static_cast<int>(secret_.size()),
         reinterpret_cast<const unsigned char*>(message.data()), message.size(), digest.data(), &length);
    return hex(digest.data(), length);
}

bool Signer::fits(std::string_view signature, std::string_view purpose, std::string_view text) const {
    const std::string expected = sign(purpose, text);
    return signature.size() == expected.size() &&
           CRYPTO_memcmp(signature.data(), expected.data(), expected.size()) == 0;
}

std::string randomHex(std::size_t bytes) {
    std::vector<unsigned char> random(bytes);
    if (RAND_bytes(random.data(), static_cast<int>(bytes)) != 1)
        throw std::runtime_error("no random numbers");
    return hex(random.data(), bytes);
}

}  // namespace morvane
