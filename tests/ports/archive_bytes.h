// tests/ports/archive_bytes.h: archives written by hand, independent of the writer: every text and class
// anew.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace morvane::testing {

/// Hexadecimal bytes, and texts between single quotes: "84 01 '@'".
inline std::string bytesOf(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == ' ' || text[i] == '\n') continue;
        if (text[i] == '\'') {
            const std::size_t end = text.find('\'', i + 1);
            result += text.substr(i + 1, end - i - 1);
            i = end;
        } else {
            result += static_cast<char>(std::stoi(std::string(text.substr(i++, 2)), nullptr, 16));
        }
    }
    return result;
}

inline const std::string littleHeader = bytesOf("04 0b 'streamtyped' 81 e8 03");
inline const std::string bigHeader = bytesOf("04 0b 'typedstream' 81 03 e8");

inline std::string integer32(std::uint32_t value) {
    std::string result = "\x82";
    for (int i = 0; i < 4; ++i) result += static_cast<char>(value >> 8 * i & 0xff);
    return result;
}
inline std::string counted(std::string_view text) {
    return integer32(static_cast<std::uint32_t>(text.size())) + std::string(text);
}
inline std::string sharedText(std::string_view text) {
    return "\x84" + counted(text);
}
inline std::string group(std::string_view type, std::string_view values) {
    return sharedText(type) + std::string(values);
}

struct TestClass {
    std::string_view name;
    char version = 0;
};
inline std::string object(std::initializer_list<TestClass> chain, std::string_view fields) {
    std::string result = "\x84";
    for (const TestClass& entry : chain) result += "\x84" + sharedText(entry.name) + entry.version;
    return result + "\x84" + sharedText("NSObject") + '\0' + "\x85" + std::string(fields) + "\x86";
}
inline std::string text(std::string_view content) {
    return object({{"NSString", 1}}, group("+", counted(content)));
}
inline std::string member(std::string_view value) {
    return group("@", value);
}
inline std::string archiveOf(std::string_view root) {
    return littleHeader + group("@", root);
}

}  // namespace morvane::testing
