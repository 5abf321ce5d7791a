// views/contact_form.h: draws the contact form of the help tab (`NSHelpTab::form`). Main thread.
#pragma once

#include <QWidget>

#include "app/help_tab.h"

class QLineEdit;
class QPlainTextEdit;
class QProgressBar;

namespace morvane::views {

class PrimaryButton;

class ContactForm : public QWidget {
    Q_OBJECT
  public:
    /// The tab must outlive it. What is missing, and the outcome, are told in its dialogs.
    explicit ContactForm(NSHelpTab& tab, QWidget* parent = nullptr);

  private:
    QLineEdit* field(const QString& name, std::string NSHelpTab::Form::*text);
    void send();
    void refresh();

    NSHelpTab& tab_;
    QPlainTextEdit* description_;
    PrimaryButton* send_;
    QProgressBar* bar_;
};

}  // namespace morvane::views
