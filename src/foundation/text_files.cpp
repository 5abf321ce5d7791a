#include "foundation/text_files.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/text.h"

namespace morvane::MVString {

namespace {

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return static_cast<unsigned char>(character) < 0x80; });
}

/// Why the bytes are no text of the encoding; nothing when they are.
files::Error mismatch(std::string_view bytes, Encoding encoding) {
    if (encoding == Encoding::ascii && !isAscii(bytes)) {
        return localized("the text holds characters outside the ASCII encoding");
    }
    if (encoding == Encoding::utf8 && !isValidUtf8(bytes)) return localized("the text is not valid UTF-8");
    return std::nullopt;
}

}  // namespace

std::optional<std::string> stringWithContentsOfFile(const std::string& path, Encoding encoding) {
    if (files::kindBehind(path) == files::Kind::none) return std::nullopt;
    auto contents = files::read(path);
    files::Error error;
    if (const Failure* failure = failureOf(contents)) {
        error = failure->message;
    } else {
        error = mismatch(std::get<std::string>(contents), encoding);
    }
    if (!error) return std::get<std::string>(std::move(contents));
    MVAlert::showAlertErrorMessage(localized("Error while reading file: %@", {*error}));
    return std::nullopt;
}

bool writeToFile(std::string_view text, const std::string& path, Atomically atomically, Encoding encoding) {
    files::Error error = mismatch(text, encoding);
    if (!error) error = files::write(path, text, atomically);
    if (error) MVAlert::showAlertErrorMessage(localized("Error while writting file: %@", {*error}));
    return !error;
}

}  // namespace morvane::MVString
