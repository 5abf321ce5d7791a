// views/dialogs.h: draws the dialogs of `UserInterface` (`Dialog`, with every kind of accessory). Main thread.
#pragma once

#include <QDialog>
#include <optional>
#include <vector>

#include "platform/user_interface.h"

class QAbstractButton;
class QBoxLayout;
class QComboBox;
class QLineEdit;
class QPlainTextEdit;

namespace morvane::views {

/// One question. Enter presses the default button (Control and Enter in a field of several lines), Escape and
/// the window's own cross the one that calls it off (`MVAlert::cancelButton`); without such a button they do
/// nothing.
class DialogWindow : public QDialog {
    Q_OBJECT
  public:
    DialogWindow(const Dialog& dialog, QWidget* parent);

    /// As it stands: the button that was pressed, or what stands for none at all.
    [[nodiscard]] DialogAnswer answer() const;
    /// In the order of `Dialog::buttons`.
    [[nodiscard]] const std::vector<QAbstractButton*>& buttons() const { return buttons_; }

    void reject() override;

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void addTexts(QBoxLayout& column);
    void addAccessory(QBoxLayout& column);
    void addButtons(QBoxLayout& column);
    void addPictureButtons(QBoxLayout& column);
    QAbstractButton* addButton(std::size_t number, QAbstractButton* button);
    [[nodiscard]] QWidget* iconLabel();
    void takeFocus();
    void press(std::size_t button);

    const Dialog dialog_;
    std::vector<QAbstractButton*> buttons_;
    std::size_t pressed_;
    QLineEdit* line_ = nullptr;
    QPlainTextEdit* lines_ = nullptr;
    QComboBox* box_ = nullptr;
};

/// Shows the dialog and blocks until it is answered, with the event loop running. It lies over the parent, and
/// over whatever question is open already.
[[nodiscard]] DialogAnswer askUser(const Dialog& dialog, QWidget* parent);

/// Draws the eye to a question: of an application that is not in front, its window asks for attention.
void raiseAttention(QWidget* window);

}  // namespace morvane::views
