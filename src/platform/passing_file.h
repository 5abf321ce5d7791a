// platform/passing_file.h: a file that is filled beside its place, and put there when it is whole. One thread at
// a time.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace morvane::files {

/// Nothing is made before the first byte. What is not put in its place is removed with the object; what a
/// killed process has left beside the same place goes when the next file for it begins.
class PassingFile {
  public:
    explicit PassingFile(std::string place);
    ~PassingFile();
    PassingFile(PassingFile&&) noexcept;
    PassingFile& operator=(PassingFile&&) noexcept;

    /// Adds the bytes. Room is left as `FreeRoom` says. `wholeLength` is what the file is going to have in the end, where that is known: more
    /// than is free is refused before anything is written. After a failure nothing more is added.
    [[nodiscard]] Result<> append(std::string_view bytes, std::optional<std::uint64_t> wholeLength);
    /// The first failure of `append`.
    [[nodiscard]] const Result<>& soFar() const;
    [[nodiscard]] std::uint64_t size() const;

    /// Flushes the file and renames it into place; what lies there is replaced, a file's permissions are kept.
    /// To be called once, after bytes were added.
    [[nodiscard]] Result<> putInPlace();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace morvane::files
