#include "views/help_page.h"

#include <QCheckBox>
#include <QClipboard>
#include <QFormLayout>
#include <QGuiApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QSplitter>
#include <QVBoxLayout>

#include "platform/host.h"
#include "views/labels.h"
#include "views/qt_text.h"
#include "views/styled_view.h"
#include "views/theme.h"

namespace morvane::views {
namespace {

QVBoxLayout* sectionLayout(QWidget* section) {
    auto* column = new QVBoxLayout(section);
    column->setContentsMargins(theme::margin, theme::margin, theme::margin, theme::margin);
    column->setSpacing(theme::gap);
    return column;
}

QLineEdit* field(QFormLayout* form, const QString& name) {
    auto* line = new QLineEdit;
    line->setAccessibleName(name);
    form->addRow(name, line);
    return line;
}

}  // namespace

HelpPage::HelpPage(AppDelegate& app, QWidget* parent)
    : QWidget(parent), app_(app), questions_(NSHelpTab::commonQuestions()) {
    auto* right = new QWidget;
    auto* column = new QVBoxLayout(right);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(makeForm());
    column->addWidget(makeComputer());
    column->addStretch();
    auto* area = new QScrollArea;
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidget(right);
    auto* both = new QSplitter(this);
    both->setChildrenCollapsible(false);
    both->addWidget(makeQuestions());
    both->addWidget(area);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->addWidget(both);
}

QWidget* HelpPage::makeQuestions() {
    auto* section = new QWidget;
    auto* column = sectionLayout(section);
    column->addWidget(new HeadingLabel(shown("Common questions")));
    list_ = new QListWidget;
    list_->setAccessibleName(shown("Common questions"));
    list_->setWordWrap(true);
    theme::makeRoomy(*list_);
    for (const NSHelpTab::Question& question : questions_) list_->addItem(literalLine(question.question));
    answer_ = new StyledView;
    answer_->setAccessibleName(shown("Answer"));
    answer_->setLinkHandler([this](const std::string& link) {
        if (app_.shouldWebViewFollow(link)) openWebLink(link);
    });
    column->addWidget(list_, 1);
    column->addWidget(answer_, 1);
    auto* more = new QPushButton(theme::icon("website"), shown("More help in the catalogue"));
    connect(more, &QPushButton::clicked, this, [] { NSHelpTab::morvaneHelp(); });
    column->addWidget(more, 0, Qt::AlignLeading);
    connect(list_, &QListWidget::currentRowChanged, this, [this](int row) {
        if (row >= 0) answer_->showText(questions_[static_cast<std::size_t>(row)].answer);
    });
    list_->setCurrentRow(0);
    return section;
}

QWidget* HelpPage::makeForm() {
    auto* section = new QWidget;
    auto* column = sectionLayout(section);
    column->addWidget(new HeadingLabel(shown("Contact Us")));
    auto* form = new QFormLayout;
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    name_ = field(form, shown("Your name"));
    mail_ = field(form, shown("Mail address"));
    subject_ = field(form, shown("Subject"));
    description_ = new QPlainTextEdit;
    description_->setAccessibleName(shown("Description"));
    description_->setMinimumHeight(120);
    // Ctrl+Tab goes on: Tab and Return belong to the text.
    form->addRow(shown("Description"), description_);
    column->addLayout(form);
    addsComputer_ = new QCheckBox(shown("Add the description of this computer"));
    column->addWidget(addsComputer_);
    send_ = new QPushButton(theme::icon("send"), shown("Send"));
    column->addWidget(send_, 0, Qt::AlignTrailing);
    connect(send_, &QPushButton::clicked, this, &HelpPage::send);
    return section;
}

QWidget* HelpPage::makeComputer() {
    auto* section = new QWidget;
    auto* column = sectionLayout(section);
    column->addWidget(new HeadingLabel(shown("This computer")));
    computer_ = new BodyLabel(shown("Looking…"));
    column->addWidget(computer_);
    auto* row = new QHBoxLayout;
    copy_ = new QPushButton(theme::icon("copy"), shown("Copy"));
    copy_->setEnabled(false);
    auto* logs = new QPushButton(theme::icon("folder"), shown("Show the logs"));
    row->addWidget(copy_);
    row->addWidget(logs);
    row->addStretch();
    column->addLayout(row);
    connect(copy_, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setText(computer_->text()); });
    connect(logs, &QPushButton::clicked, this, [] { host().userInterface.openPath(NSHelpTab::logFolder()); });
    return section;
}

void HelpPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (std::exchange(isDescribed_, true)) return;
    app_.helpTab().describe([page = QPointer(this)](const std::vector<NSHelpTab::Line>& lines) {
        if (page) page->showComputer(lines);
    });
}

void HelpPage::showComputer(const std::vector<NSHelpTab::Line>& lines) {
    QStringList text;
    for (const NSHelpTab::Line& line : lines) text << literalLine(line.label + line.value);
    computer_->setText(text.join('\n'));
    copy_->setEnabled(true);
}

void HelpPage::send() {
    NSHelpTab& tab = app_.helpTab();
    tab.form = {.name = fromQt(name_->text()),
                .mail = fromQt(mail_->text()),
                .subject = fromQt(subject_->text()),
                .description = fromQt(description_->toPlainText()),
                .addsComputerDescription = addsComputer_->isChecked()};
    send_->setEnabled(false);
    send_->setText(shown("Sending…"));
    tab.send([page = QPointer(this)](bool) {
        if (!page) return;
        // What was typed stays, for another try.
        page->send_->setEnabled(true);
        page->send_->setText(shown("Send"));
    });
}

}  // namespace morvane::views
