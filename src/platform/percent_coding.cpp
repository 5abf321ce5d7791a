#include "platform/percent_coding.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>

namespace morvane::percent {
namespace {

struct Free {
    void operator()(char* text) const { curl_free(text); }
};
using Text = std::unique_ptr<char, Free>;

}  // namespace

std::string encoded(std::string_view text, std::string_view plain) {
    std::string result;
    while (!text.empty()) {
        const std::size_t run = std::min(text.find_first_of(plain), text.size());
        // The length 0 would mean a text that ends with a NUL.
        if (run > 0) {
            const Text escaped(curl_easy_escape(nullptr, text.data(), static_cast<int>(run)));
            if (escaped) result += escaped.get();
        }
        if (run < text.size()) result += text[run];
        text.remove_prefix(std::min(run + 1, text.size()));
    }
    return result;
}

std::string decoded(std::string_view text) {
    if (text.empty()) return "";
    int length = 0;
    const Text plain(curl_easy_unescape(nullptr, text.data(), static_cast<int>(text.size()), &length));
    return plain ? std::string(plain.get(), static_cast<std::size_t>(length)) : std::string(text);
}

}  // namespace morvane::percent
