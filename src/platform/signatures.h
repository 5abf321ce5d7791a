// platform/signatures.h: Ed25519 keys and signatures (RFC 8032). Any thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/result.h"

namespace morvane::signatures {

inline constexpr std::size_t keyBytes = 32;
inline constexpr std::size_t signatureBytes = 64;

class PrivateKey {
  public:
    /// The key in the file, in the form of `openssl genpkey -algorithm ed25519` (PEM, not encrypted).
    [[nodiscard]] static Result<PrivateKey> read(const std::string& path);
    /// A fresh one, written there for its owner only; an existing file is never replaced.
    [[nodiscard]] static Result<PrivateKey> make(const std::string& path);

    PrivateKey(PrivateKey&&) noexcept;
    PrivateKey& operator=(PrivateKey&&) noexcept;
    ~PrivateKey();

    [[nodiscard]] std::string publicKey() const;                     ///< `keyBytes` bytes
    [[nodiscard]] std::string sign(std::string_view message) const;  ///< `signatureBytes` bytes

  private:
    struct State;
    explicit PrivateKey(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

/// False as well for a key or a signature of another length.
[[nodiscard]] bool fits(std::string_view signature, std::string_view publicKey, std::string_view message);

/// Two digits a byte, lower case.
[[nodiscard]] std::string hex(std::string_view bytes);

}  // namespace morvane::signatures
