#include "platform/signatures.h"

#include <fcntl.h>
#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "platform/descriptor.h"
#include "platform/files.h"

namespace morvane::signatures {

namespace {

struct Free {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    void operator()(BIO* stream) const { BIO_free(stream); }
};
using Key = std::unique_ptr<EVP_PKEY, Free>;
using Context = std::unique_ptr<EVP_MD_CTX, Free>;
using Stream = std::unique_ptr<BIO, Free>;

const unsigned char* bytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned char* bytesOf(std::string& text) {
    return reinterpret_cast<unsigned char*>(text.data());
}

/// A text that is asked for on a terminal, without this, when the key is encrypted.
int noPassword(char*, int, int, void*) {
    return -1;
}

std::string pemOf(EVP_PKEY* key) {
    const Stream stream(BIO_new(BIO_s_mem()));
    if (PEM_write_bio_PKCS8PrivateKey(stream.get(), key, nullptr, nullptr, 0, nullptr, nullptr) != 1)
        throw std::runtime_error("no memory for a key");
    char* text = nullptr;
    const long length = BIO_get_mem_data(stream.get(), &text);
    return {text, static_cast<std::size_t>(length)};
}

}  // namespace

struct PrivateKey::State {
    explicit State(Key read) : key(std::move(read)) {}
    Key key;
};

PrivateKey::PrivateKey(std::unique_ptr<State> state) : state_(std::move(state)) {}
PrivateKey::PrivateKey(PrivateKey&&) noexcept = default;
PrivateKey& PrivateKey::operator=(PrivateKey&&) noexcept = default;
PrivateKey::~PrivateKey() = default;

Result<PrivateKey> PrivateKey::read(const std::string& path) {
    const auto text = files::read(path);
    if (!text) return text.error();
    const Stream stream(BIO_new_mem_buf(text->data(), static_cast<int>(text->size())));
    Key key(PEM_read_bio_PrivateKey(stream.get(), nullptr, noPassword, nullptr));
    if (!key || EVP_PKEY_base_id(key.get()) != EVP_PKEY_ED25519)
        return Failure{path, "It holds no Ed25519 key that can be read without a password"};
    return PrivateKey(std::make_unique<State>(std::move(key)));
}

Result<PrivateKey> PrivateKey::make(const std::string& path) {
    Key key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"));
    if (!key) throw std::runtime_error("no random numbers");
    if (auto folder = files::createFolder(files::parent(path), true); !folder) return folder.error();
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file.valid() || !writeAll(file.get(), pemOf(key.get())) || ::fsync(file.get()) != 0)
        return Failure{path, std::generic_category().message(errno)};
    return PrivateKey(std::make_unique<State>(std::move(key)));
}

std::string PrivateKey::publicKey() const {
    std::string bytes(keyBytes, '\0');
    std::size_t length = bytes.size();
    if (EVP_PKEY_get_raw_public_key(state_->key.get(), bytesOf(bytes), &length) != 1)
        throw std::runtime_error("a key without its public half");
    return bytes;
}

std::string PrivateKey::sign(std::string_view message) const {
    const Context context(EVP_MD_CTX_new());
    std::string signature(signatureBytes, '\0');
    std::size_t length = signature.size();
    if (EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, state_->key.get()) != 1 ||
        EVP_DigestSign(context.get(), bytesOf(signature), &length, bytesOf(message), message.size()) != 1)
        throw std::runtime_error("a key that does not sign");
    return signature;
}

bool fits(std::string_view signature, std::string_view publicKey, std::string_view message) {
    if (signature.size() != signatureBytes || publicKey.size() != keyBytes) return false;
    const Key key(
        EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, bytesOf(publicKey), publicKey.size()));
    const Context context(EVP_MD_CTX_new());
    return key && EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key.get()) == 1 &&
           EVP_DigestVerify(context.get(), bytesOf(signature), signature.size(), bytesOf(message),
                            message.size()) == 1;
}

std::string hex(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        text += {digits[byte >> 4U], digits[byte & 0xFU]};
    }
    return text;
}

}  // namespace morvane::signatures
