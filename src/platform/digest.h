// platform/digest.h: SHA-256. Any thread.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace morvane::digest {

/// A sum that is made piece by piece.
class Sha256 {
  public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;
    void add(std::string_view bytes);
    /// 64 lower-case hexadecimal digits. To be called once, last.
    [[nodiscard]] std::string end();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

[[nodiscard]] std::string sha256(std::string_view bytes);
/// Nothing when the file cannot be read to its end, or is none; a link is not followed.
[[nodiscard]] std::optional<std::string> sha256OfFile(const std::string& path);

}  // namespace morvane::digest
