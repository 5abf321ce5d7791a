// fuzz/fuzzing.h: what the fuzzers share.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace morvane::fuzzing {

/// Ends the process, which the fuzzer reports with the input.
inline void require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (holds) return;
    std::fprintf(stderr, "%s:%d: does not hold\n", file, line);
    std::abort();
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Printable ASCII without what ends a quoted text.
inline std::string plainText(FuzzedDataProvider& data, std::size_t longest) {
    std::string text = data.ConsumeRandomLengthString(longest);
    for (char& character : text) {
        character = static_cast<char>(' ' + (static_cast<unsigned char>(character) % 95));
        if (character == '"') character = '_';
    }
    return text;
}

}  // namespace morvane::fuzzing
