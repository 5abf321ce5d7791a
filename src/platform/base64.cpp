#include "platform/base64.h"

#include <QByteArray>

namespace morvane::base64 {

std::string encode(std::string_view bytes) {
    return QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()))
        .toBase64()
        .toStdString();
}

std::optional<std::string> decode(std::string_view text) {
    QByteArray digits;
    digits.reserve(static_cast<qsizetype>(text.size()));
    for (const char character : text) {
        const bool isBlank = character == ' ' || (character >= '\t' && character <= '\r');
        if (!isBlank) digits += character;
    }
    while (digits.endsWith('=')) digits.chop(1);  // others leave them out, or have too many
    const auto result = QByteArray::fromBase64Encoding(
        digits, QByteArray::AbortOnBase64DecodingErrors | QByteArray::OmitTrailingEquals);
    if (!result) return std::nullopt;
    return result.decoded.toStdString();
}

}  // namespace morvane::base64
