// platform/result.h: a value, or a message for the user.
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace morvane {

/// What went wrong, in words that can be shown to the user as they stand.
struct Failure {
    std::string message;
    bool operator==(const Failure&) const = default;
};

template <class T>
using Result = std::variant<T, Failure>;

template <class T>
[[nodiscard]] const Failure* failureOf(const Result<T>& result) {
    return std::get_if<Failure>(&result);
}

}  // namespace morvane
