// views/theme.h: how everything of the desktop looks: scheme, palette, metrics, icons. Main thread.
//
// No other file holds a colour, a style sheet or the name of an icon's file.
#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QSize>
#include <string_view>

class QAbstractItemView;
class QApplication;
class QPalette;
class QWidget;

namespace morvane::views::theme {

enum class Scheme { system, light, dark };

/// Style, palette and metrics for the whole application; again whenever the scheme changes.
void apply(QApplication& application, Scheme scheme);
/// Whether what is shown now is dark.
[[nodiscard]] bool isDark();

/// Distances in points of the screen.
inline constexpr int gap = 8, margin = 16, radius = 8;

/// A symbolic icon in the text's colour, whichever scheme is in use when it is drawn; pressed, in the links'
/// (`resources/views/symbols/<name>.svg`).
[[nodiscard]] QIcon icon(std::string_view name);
[[nodiscard]] QColor accent();
/// The one button of a page that is its purpose: filled with the accent.
void makePrimary(QWidget& button);
/// Part of the window instead of a field of its own.
void makeFlush(QWidget& view);
/// Rows of text with room around them.
void makeRoomy(QAbstractItemView& list);
/// For text beside the main one: counts, hints.
[[nodiscard]] QColor faintText();
/// Of what has gone wrong, and of what is risky.
[[nodiscard]] QColor stop();
[[nodiscard]] QColor caution();

/// One symbol of `icon` in a colour of its own, so many points high, sharp at the scale of the screen.
[[nodiscard]] QPixmap symbol(std::string_view name, int size, const QColor& colour, double scale);

}  // namespace morvane::views::theme
