#include "foundation/text_files.h"

#include <utility>
#include <variant>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/utf8.h"

namespace morvane::MVString {

namespace {

bool isAscii(std::string_view text) {
    return utf8::behindAscii(text, 0) == text.size();
}

/// Whether the bytes of that file are a text of the encoding.
Result<> checked(std::string_view bytes, Encoding encoding, const std::string& path) {
    if (encoding == Encoding::ascii && !isAscii(bytes)) {
        return Failure{path, localized("the text holds characters outside the ASCII encoding")};
    }
    if (encoding == Encoding::utf8 && !isValidUtf8(bytes)) {
        return Failure{path, localized("the text is not valid UTF-8")};
    }
    return {};
}

}  // namespace

std::optional<std::string> stringWithContentsOfFile(const std::string& path, Encoding encoding) {
    if (files::kindBehind(path) == files::Kind::none) return std::nullopt;
    auto contents = files::read(path);
    if (contents) {
        if (auto isText = checked(*contents, encoding, path); !isText) contents = isText.error();
    }
    if (contents) return *std::move(contents);
    MVAlert::showAlertErrorMessage(localized("Error while reading file: %@", {contents.error().why}));
    return std::nullopt;
}

bool writeToFile(std::string_view text, const std::string& path, Atomically atomically, Encoding encoding) {
    auto written = checked(text, encoding, path);
    if (written) written = files::write(path, text, atomically);
    if (!written)
        MVAlert::showAlertErrorMessage(localized("Error while writting file: %@", {written.error().why}));
    return written.has_value();
}

}  // namespace morvane::MVString
