#include "views/sidebar.h"

#include <QButtonGroup>
#include <QToolButton>
#include <QVBoxLayout>

#include "views/theme.h"

namespace morvane::views {
namespace {

constexpr int symbolEdge = 26, buttonWidth = 92, buttonHeight = 64;

}  // namespace

Sidebar::Sidebar(QWidget* parent) : QWidget(parent), column_(new QVBoxLayout(this)) {
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::AlternateBase);
    column_->setContentsMargins(theme::gap, theme::gap, theme::gap, theme::gap);
    column_->setSpacing(theme::gap / 2);
    column_->addStretch();
}

void Sidebar::add(MorvaneTab tab, const QString& title, std::string_view symbol) {
    auto* button = new QToolButton(this);
    button->setText(title);
    button->setAccessibleName(title);
    button->setIcon(theme::icon(symbol));
    button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    button->setIconSize({symbolEdge, symbolEdge});
    button->setMinimumSize(buttonWidth, buttonHeight);
    button->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    button->setCheckable(true);
    button->setAutoExclusive(true);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    connect(button, &QToolButton::clicked, this, [this, tab] { Q_EMIT chosen(tab); });
    column_->insertWidget(column_->count() - 1, button);
    buttons_[tab] = button;
}

void Sidebar::select(MorvaneTab tab) {
    if (const auto entry = buttons_.find(tab); entry != buttons_.end()) entry->second->setChecked(true);
}

}  // namespace morvane::views
