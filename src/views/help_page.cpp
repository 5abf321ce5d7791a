#include "views/help_page.h"

#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "platform/host.h"
#include "views/contact_form.h"
#include "views/labels.h"
#include "views/qt_text.h"
#include "views/question_row.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

// Points of the screen.
constexpr int narrowestColumn = 360, widestPage = 1080;

/// A heading with what belongs to it below.
QVBoxLayout* section(QWidget* widget, const QString& title) {
    auto* layout = new QVBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(theme::gap);
    layout->addWidget(new HeadingLabel(title));
    return layout;
}

}  // namespace

HelpPage::HelpPage(AppDelegate& app, QWidget* parent)
    : QWidget(parent), app_(app), columns_(nullptr), description_(nullptr), copy_(nullptr) {
    auto* content = new QWidget;
    content->setMaximumWidth(widestPage);
    columns_ = new QBoxLayout(QBoxLayout::LeftToRight, content);
    columns_->setContentsMargins(theme::margin, theme::margin, theme::margin, theme::margin);
    columns_->setSpacing(2 * theme::margin);
    auto* beside = new QWidget;
    auto* column = new QVBoxLayout(beside);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(2 * theme::margin);
    column->addWidget(new ContactForm(app_.helpTab()));
    column->addWidget(computer());
    column->addWidget(more());
    column->addStretch();
    columns_->addWidget(questions(), 1);
    columns_->addWidget(beside, 1);

    // In the middle of a wide window.
    auto* middle = new QWidget;
    auto* row = new QHBoxLayout(middle);
    row->setContentsMargins(0, 0, 0, 0);
    row->addStretch(1);
    row->addWidget(content, widestPage);
    row->addStretch(1);
    auto* area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidget(middle);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->addWidget(area);
}

QWidget* HelpPage::questions() {
    auto* widget = new QWidget;
    auto* layout = section(widget, shown("Common questions"));
    const auto questions = NSHelpTab::commonQuestions();
    for (const NSHelpTab::Question& question : questions) layout->addWidget(new QuestionRow(question));
    if (questions.empty()) layout->addWidget(new HintLabel(shown("The answers are missing here.")));
    layout->addStretch();
    return widget;
}

QWidget* HelpPage::computer() {
    auto* widget = new QWidget;
    auto* layout = section(widget, shown("This computer"));
    description_ = new BodyLabel(shown("Looking at this computer…"));
    description_->setAccessibleName(shown("This computer"));
    layout->addWidget(description_);
    copy_ = new QPushButton(theme::icon("copy"), shown("Copy"));
    copy_->setToolTip(shown("Copy the description, to paste it where you ask for help"));
    copy_->setEnabled(false);
    connect(copy_, &QPushButton::clicked, this,
            [this] { QApplication::clipboard()->setText(description_->text()); });
    layout->addWidget(copy_, 0, Qt::AlignLeft);
    return widget;
}

QWidget* HelpPage::more() {
    auto* widget = new QWidget;
    auto* layout = section(widget, shown("More"));
    auto* logs = new QPushButton(theme::icon("folder"), shown("Open the folder of the logs"));
    logs->setToolTip(shown("What the application has done, for whoever looks into a problem"));
    connect(logs, &QPushButton::clicked, this, [] { host().userInterface.openPath(NSHelpTab::logFolder()); });
    auto* site = new QPushButton(theme::icon("website"), shown("Open the catalogue in the browser"));
    connect(site, &QPushButton::clicked, this, [] { NSHelpTab::morvaneHelp(); });
    for (QPushButton* button : {logs, site}) layout->addWidget(button, 0, Qt::AlignLeft);
    return widget;
}

void HelpPage::describe() {
    isDescribed_ = true;
    app_.helpTab().describe([page = QPointer(this)](const std::vector<NSHelpTab::Line>& lines) {
        if (page) page->take(lines);
    });
}

void HelpPage::take(const std::vector<NSHelpTab::Line>& lines) {
    QStringList texts;
    for (const NSHelpTab::Line& line : lines) texts << literalLine(localized(line.label) + line.value);
    description_->setText(texts.join('\n'));
    copy_->setEnabled(!lines.empty());
}

void HelpPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!isDescribed_) describe();
}

void HelpPage::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const bool isNarrow = width() < 2 * narrowestColumn + 4 * theme::margin;
    columns_->setDirection(isNarrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

}  // namespace morvane::views
