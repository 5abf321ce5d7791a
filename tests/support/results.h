// tests/support/results.h: what a failure says; "" for a success.
#pragma once

#include <string>

#include "platform/result.h"

namespace morvane::testing {

inline std::string why(const Result<>& result) {
    return result ? "" : result.error().why;
}

}  // namespace morvane::testing
