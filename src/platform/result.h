// platform/result.h: what can fail gives a value, or says why there is none.
#pragma once

#include <string>
#include <tl/expected.hpp>
#include <utility>

namespace morvane {

/// What went wrong, in words that can be shown to the user.
struct Failure {
    std::string what;         ///< what failed, and to what; may be the whole story
    std::string why = {};     ///< the cause, such as the system's own description of an error
    std::string advice = {};  ///< what the user can do: a sentence

    /// All three as one text: "what: why. advice".
    [[nodiscard]] std::string message() const;
    /// For a text that says already what failed: why, or what where nothing else is known.
    [[nodiscard]] const std::string& reason() const { return why.empty() ? what : why; }
    bool operator==(const Failure&) const = default;
};

/// A value or a failure; true means success. To be constructed from either.
template <class T = void>
class [[nodiscard]] Result : public tl::expected<T, Failure> {
  public:
    using tl::expected<T, Failure>::expected;
    // NOLINTNEXTLINE(google-explicit-constructor): a failure is returned as it is.
    Result(Failure failure) : tl::expected<T, Failure>(tl::unexpect, std::move(failure)) {}
};

}  // namespace morvane
