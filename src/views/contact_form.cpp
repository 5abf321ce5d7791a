#include "views/contact_form.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressBar>
#include <QVBoxLayout>

#include "views/labels.h"
#include "views/primary_button.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr int descriptionHeight = 130;

}  // namespace

ContactForm::ContactForm(NSHelpTab& tab, QWidget* parent)
    : QWidget(parent),
      tab_(tab),
      description_(new QPlainTextEdit),
      send_(new PrimaryButton),
      bar_(new QProgressBar) {
    auto* form = new QFormLayout;
    form->setRowWrapPolicy(QFormLayout::WrapAllRows);
    form->setSpacing(theme::gap / 2);
    form->addRow(shown("Your name:"), field(shown("Your name"), &NSHelpTab::Form::name));
    form->addRow(shown("Your mail address:"), field(shown("Your mail address"), &NSHelpTab::Form::mail));
    form->addRow(shown("Subject:"), field(shown("Subject"), &NSHelpTab::Form::subject));
    description_->setAccessibleName(shown("Description"));
    description_->setPlaceholderText(shown("What did you do, what happened, and what should have happened?"));
    description_->setTabChangesFocus(true);
    description_->setMinimumHeight(descriptionHeight);
    description_->setPlainText(toQt(tab_.form.description));
    connect(description_, &QPlainTextEdit::textChanged, this,
            [this] { tab_.form.description = fromQt(description_->toPlainText()); });
    form->addRow(shown("Description:"), description_);

    auto* adds = new QCheckBox(shown("Add the description of this computer"));
    adds->setToolTip(shown("It stands on this page, and helps to find the cause of a problem"));
    adds->setChecked(tab_.form.addsComputerDescription);
    connect(adds, &QCheckBox::toggled, this, [this](bool on) { tab_.form.addsComputerDescription = on; });

    connect(send_, &PrimaryButton::clicked, this, &ContactForm::send);
    bar_->setRange(0, 0);
    bar_->setTextVisible(false);
    bar_->setAccessibleName(shown("Sending…"));
    auto* row = new QHBoxLayout;
    row->addWidget(send_);
    row->addWidget(bar_, 1);
    row->addStretch(1);

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(theme::gap);
    all->addWidget(new HeadingLabel(shown("Write to us")));
    all->addLayout(form);
    all->addWidget(adds);
    all->addLayout(row);
    refresh();
}

QLineEdit* ContactForm::field(const QString& name, std::string NSHelpTab::Form::*text) {
    auto* line = new QLineEdit(toQt(tab_.form.*text));
    line->setAccessibleName(name);
    connect(line, &QLineEdit::textChanged, this,
            [this, text](const QString& typed) { tab_.form.*text = fromQt(typed); });
    return line;
}

void ContactForm::send() {
    tab_.send([form = QPointer(this)](bool) {
        if (form) form->refresh();
    });
    refresh();
}

void ContactForm::refresh() {
    const bool isSending = tab_.isSending();
    // Whoever pressed it stays where he is.
    const bool hadFocus = send_->hasFocus();
    send_->setTitle(isSending ? shown("Sending…") : shown("Send"), "send");
    send_->setEnabled(!isSending);
    bar_->setVisible(isSending);
    if (hadFocus) description_->setFocus();
}

}  // namespace morvane::views
