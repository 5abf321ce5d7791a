#include "views/labels.h"

#include <QEvent>
#include <QFontMetrics>

#include "platform/utf8.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {

QString literal(std::string_view text) {
    return toQt(harmless(text));
}

QString literalLine(std::string_view text) {
    return literal(text).replace('\n', ' ').replace('\t', ' ');
}

QString plainToolTip(std::string_view text) {
    constexpr qsizetype longest = 300;
    return "<qt>" + literalLine(text).left(longest).toHtmlEscaped() + "</qt>";
}

QString literalTitle(std::string_view text) {
    return literalLine(text).replace("&", "&&");
}

BodyLabel::BodyLabel(const QString& text, QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setText(text);
    setWordWrap(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    // To be read with the pointer or the reader of the screen; Tab goes from control to control.
    setFocusPolicy(Qt::ClickFocus);
}

HeadingLabel::HeadingLabel(const QString& text, QWidget* parent, double factor) : BodyLabel(text, parent) {
    QFont larger = font();
    larger.setPointSizeF(larger.pointSizeF() * factor);
    larger.setBold(true);
    setFont(larger);
}

HintLabel::HintLabel(const QString& text, QWidget* parent) : BodyLabel(text, parent) {
    takeColour();
}

void HintLabel::takeColour() {
    QPalette faint = palette();
    if (faint.color(QPalette::WindowText) == theme::faintText()) return;
    faint.setColor(QPalette::WindowText, theme::faintText());
    setPalette(faint);
}

void HintLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::ApplicationPaletteChange || event->type() == QEvent::PaletteChange)
        takeColour();
}

ElidedLabel::ElidedLabel(Qt::TextElideMode mode, QWidget* parent) : QLabel(parent), mode_(mode) {
    setTextFormat(Qt::PlainText);
}

void ElidedLabel::setWholeText(const QString& text) {
    if (text == whole_) return;
    whole_ = text;
    updateGeometry();
    elide();
}

QSize ElidedLabel::sizeHint() const {
    return {fontMetrics().horizontalAdvance(whole_) + 2, QLabel::sizeHint().height()};
}

QSize ElidedLabel::minimumSizeHint() const {
    constexpr int fewestCharacters = 8;
    return {fontMetrics().averageCharWidth() * fewestCharacters, QLabel::minimumSizeHint().height()};
}

void ElidedLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    elide();
}

void ElidedLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange) elide();
}

void ElidedLabel::elide() {
    const QString fitting = fontMetrics().elidedText(whole_, mode_, width());
    setText(fitting);
    setToolTip(fitting == whole_ ? QString() : plainToolTip(fromQt(whole_)));
    setAccessibleName(whole_);
}

}  // namespace morvane::views
