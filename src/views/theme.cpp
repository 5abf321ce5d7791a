#include "views/theme.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QStyleFactory>
#include <QStyledItemDelegate>
#include <QSvgRenderer>
#include <QWidget>

#include "platform/host.h"
#include "views/qt_text.h"

namespace morvane::views::theme {

namespace {

QPalette paletteOf(bool dark) {
    QPalette palette;
    const QColor window = dark ? QColor(0x1e, 0x1f, 0x24) : QColor(0xf6, 0xf6, 0xf8);
    const QColor base = dark ? QColor(0x27, 0x28, 0x2e) : QColor(0xff, 0xff, 0xff);
    const QColor text = dark ? QColor(0xec, 0xec, 0xf0) : QColor(0x1c, 0x1d, 0x22);
    const QColor button = dark ? QColor(0x35, 0x36, 0x3d) : QColor(0xea, 0xea, 0xee);
    const QColor faint = dark ? QColor(0x9a, 0x9b, 0xa5) : QColor(0x6b, 0x6c, 0x76);
    const QColor highlight = dark ? QColor(0x7a, 0x6c, 0xf0) : QColor(0x5b, 0x4b, 0xdb);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, dark ? QColor(0x2c, 0x2d, 0x34) : QColor(0xf1, 0xf1, 0xf4));
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, button);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, faint);
    palette.setColor(QPalette::Highlight, highlight);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, dark ? highlight.lighter(125) : highlight);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, faint);
    }
    palette.setColor(QPalette::Disabled, QPalette::Highlight, button);
    return palette;
}

/// The picture's shape in one colour.
QPixmap tinted(QSvgRenderer& picture, int size, const QColor& colour) {
    QPixmap result(size, size);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    picture.render(&painter);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(result.rect(), colour);
    return result;
}

QString fileOfSymbol(std::string_view name) {
    return toQt(host().folders.resources + "/views/symbols/" + std::string(name) + ".svg");
}

/// Drawn anew in each size and in the colours of the palette at that time.
class SymbolEngine : public QIconEngine {
  public:
    explicit SymbolEngine(QString file) : file_(std::move(file)) {}

    [[nodiscard]] QIconEngine* clone() const override { return new SymbolEngine(file_); }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        const int edge = std::max(1, std::min(size.width(), size.height()));
        const QColor colour = colourOf(mode, state);
        const QString key = QString("%1 %2 %3").arg(file_).arg(edge).arg(colour.rgba());
        QPixmap result;
        if (QPixmapCache::find(key, &result)) return result;
        QSvgRenderer picture(file_);
        result = tinted(picture, edge, colour);
        QPixmapCache::insert(key, result);
        return result;
    }
    void paint(QPainter* painter, const QRect& place, QIcon::Mode mode, QIcon::State state) override {
        const double scale = painter->device()->devicePixelRatioF();
        QPixmap drawn = pixmap(place.size() * scale, mode, state);
        drawn.setDevicePixelRatio(scale);
        const QSizeF size = drawn.deviceIndependentSize();
        painter->drawPixmap(QPointF(place.x() + (place.width() - size.width()) / 2,
                                    place.y() + (place.height() - size.height()) / 2),
                            drawn);
    }

  private:
    static QColor colourOf(QIcon::Mode mode, QIcon::State state) {
        const QPalette palette = QGuiApplication::palette();
        if (mode == QIcon::Disabled) return palette.color(QPalette::Disabled, QPalette::WindowText);
        if (mode == QIcon::Selected) return palette.color(QPalette::HighlightedText);
        return palette.color(state == QIcon::On ? QPalette::Link : QPalette::WindowText);
    }

    const QString file_;
};

}  // namespace

void apply(QApplication& application, Scheme scheme) {
    // Before the style is set, the palette is the desktop's own.
    static const bool systemIsDark = QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
    const bool dark = scheme == Scheme::system ? systemIsDark : scheme == Scheme::dark;
    application.setStyle(QStyleFactory::create("Fusion"));
    application.setPalette(paletteOf(dark));
}

bool isDark() {
    return QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

QIcon icon(std::string_view name) {
    const QString file = fileOfSymbol(name);
    return QFileInfo::exists(file) ? QIcon(new SymbolEngine(file)) : QIcon();
}

QColor accent() {
    return QGuiApplication::palette().color(QPalette::Highlight);
}

void makePrimary(QWidget& button) {
    QPalette palette = button.palette();
    // The style brightens it; the text stays white.
    constexpr int darkening = 135;
    palette.setColor(QPalette::Button, accent().darker(darkening));
    palette.setColor(QPalette::ButtonText, Qt::white);
    button.setPalette(palette);
    QFont font = button.font();
    font.setBold(true);
    button.setFont(font);
}

void makeFlush(QWidget& view) {
    QPalette palette = view.palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    view.setPalette(palette);
}

void makeRoomy(QAbstractItemView& list) {
    class Roomy : public QStyledItemDelegate {
      public:
        using QStyledItemDelegate::QStyledItemDelegate;
        [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option,
                                     const QModelIndex& index) const override {
            return QStyledItemDelegate::sizeHint(option, index) + QSize(0, gap);
        }
    };
    list.setItemDelegate(new Roomy(&list));
}

QColor faintText() {
    return QGuiApplication::palette().color(QPalette::PlaceholderText);
}

QColor stop() {
    return QColor(0xff, 0, 0);
}

QColor caution() {
    return isDark() ? QColor(0xf2, 0xb1, 0x3c) : QColor(0xd9, 0x8a, 0x00);
}

QPixmap symbol(std::string_view name, int size, const QColor& colour, double scale) {
    QSvgRenderer picture(fileOfSymbol(name));
    if (!picture.isValid()) return {};
    QPixmap result = tinted(picture, qRound(size * scale), colour);
    result.setDevicePixelRatio(scale);
    return result;
}

}  // namespace morvane::views::theme
