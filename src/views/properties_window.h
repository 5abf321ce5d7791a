// views/properties_window.h: draws the properties of an installed item (`NSPropertiesWindow`). Main thread.
#pragma once

#include <QDialog>
#include <array>
#include <memory>

#include "app/properties_window.h"

class QAbstractButton;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QRadioButton;
class QTabWidget;
class QTextEdit;

namespace morvane::views {

class PictureWell;

class PropertiesWindow : public QDialog {
    Q_OBJECT
  public:
    PropertiesWindow(std::shared_ptr<NSPropertiesWindow> properties, QWidget* parent);

    /// The properties show something else now (`ShownPart::properties`).
    void refresh();
    /// Asks about what is not saved.
    void reject() override;

  Q_SIGNALS:
    /// The window is to go: `AppDelegate::closeProperties`.
    void closeRequested();

  private:
    using Properties = NSPropertiesWindow;

    [[nodiscard]] QWidget* general();
    [[nodiscard]] QWidget* description();
    [[nodiscard]] QWidget* options();
    [[nodiscard]] QWidget* launch();
    [[nodiscard]] QLineEdit* field(const QString& name, bool (Properties::*type)(const std::string&));
    [[nodiscard]] QCheckBox* checkBox(const QString& title, bool (Properties::*change)(bool));
    [[nodiscard]] QAbstractButton* formatButton(const QString& title, const QString& name);
    void showDescription();
    void showVariables();
    void takeVariables();
    void save();

    const std::shared_ptr<Properties> properties_;
    QTabWidget* tabs_;
    PictureWell* icon_ = nullptr;
    QLineEdit *name_ = nullptr, *version_ = nullptr, *run_ = nullptr;
    QPushButton *chooseRun_ = nullptr, *save_ = nullptr, *close_ = nullptr;
    QTextEdit* description_ = nullptr;
    QAbstractButton *bold_ = nullptr, *italic_ = nullptr;
    QWidget* screenMode_ = nullptr;
    std::array<QRadioButton*, 3> windowTypes_{};  ///< by `WindowType`
    QCheckBox *systemTray_ = nullptr, *helvetica_ = nullptr, *highQuality_ = nullptr,
              *functionKeys_ = nullptr;
    QLineEdit* before_ = nullptr;
    QPlainTextEdit* variables_ = nullptr;
    QComboBox* sandbox_ = nullptr;
    QLabel *launchFailure_ = nullptr, *saving_ = nullptr;
    bool isFilling_ = false;
};

}  // namespace morvane::views
