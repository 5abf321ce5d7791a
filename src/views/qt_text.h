// views/qt_text.h: texts between the core (UTF-8) and the toolkit. Any thread.
#pragma once

#include <QString>
#include <initializer_list>
#include <string>
#include <string_view>

#include "foundation/localization.h"

namespace morvane::views {

[[nodiscard]] inline QString toQt(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
[[nodiscard]] inline std::string fromQt(const QString& text) {
    return text.toStdString();
}

/// The user's language of an English text.
[[nodiscard]] inline QString shown(std::string_view text) {
    return toQt(localized(text));
}
[[nodiscard]] inline QString shown(std::string_view text, std::initializer_list<std::string_view> arguments) {
    return toQt(localized(text, arguments));
}

}  // namespace morvane::views
