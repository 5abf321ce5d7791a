// server/signer.h: the server's secret, and texts that only the server can have made. Any thread.
#pragma once

#include <string>
#include <string_view>

#include "platform/result.h"

namespace morvane {

class Signer {
  public:
    /// With the secret in the file, which is made (readable for its owner only) when missing.
    [[nodiscard]] static Result<Signer> withSecretAt(const std::string& path);

    /// The signature of the text for the purpose, in hexadecimal: one made for another purpose does not fit.
    [[nodiscard]] std::string sign(std::string_view purpose, std::string_view text) const;
    /// Takes the same time for every wrong signature.
    [[nodiscard]] bool fits(std::string_view signature, std::string_view purpose,
                            std::string_view text) const;

  private:
    explicit Signer(std::string secret) : secret_(std::move(secret)) {}

    std::string secret_;
};

/// So many random bytes, in hexadecimal.
[[nodiscard]] std::string randomHex(std::size_t bytes);

}  // namespace morvane
