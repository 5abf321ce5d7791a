#include "views/primary_button.h"

#include "views/theme.h"

namespace morvane::views {

PrimaryButton::PrimaryButton(QWidget* parent) : QPushButton(parent) {
    theme::makePrimary(*this);
}

void PrimaryButton::setTitle(const QString& title, std::string_view symbol) {
    constexpr int symbolSize = 16;
    setText(title);
    // From right to left the style draws the text at the far end of a wide button with an icon.
    setIcon(symbol.empty() || isRightToLeft()
                ? QIcon()
                : QIcon(theme::symbol(symbol, symbolSize, palette().color(QPalette::ButtonText),
                                      devicePixelRatioF())));
}

}  // namespace morvane::views
