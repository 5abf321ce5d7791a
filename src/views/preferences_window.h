// views/preferences_window.h: draws the preferences (`NSPreferencesView`, `NSAppsFoldersList`). Main thread.
#pragma once

#include <QDialog>
#include <array>

#include "app/app_delegate.h"

class QCheckBox;
class QComboBox;
class QListWidget;
class QPushButton;
class QSpinBox;
class QTabWidget;

namespace morvane::views {

class PictureWell;

/// Every control stores at once: the window has nothing to be applied but a theme.
class PreferencesWindow : public QDialog {
    Q_OBJECT
  public:
    PreferencesWindow(AppDelegate& app, QWidget* parent);

    /// Something shows something else now: settings or folders.
    void refresh();
    void showAppsFolders();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    [[nodiscard]] QWidget* general();
    [[nodiscard]] QWidget* appearance();
    [[nodiscard]] QWidget* appsFolders();
    [[nodiscard]] QSpinBox* sizeBox(const QString& name, const QString& unit,
                                    void (NSPreferencesView::*change)(std::int64_t));
    [[nodiscard]] QCheckBox* checkBox(const QString& title, void (NSPreferencesView::*change)(bool));
    void showFolders();
    void selectFolders();
    void applyTheme();

    AppDelegate& app_;
    QTabWidget* tabs_;
    QCheckBox *updates_ = nullptr, *crashReports_ = nullptr, *developer_ = nullptr, *shelf_ = nullptr,
              *menu_ = nullptr, *savesByItself_ = nullptr;
    QSpinBox *fontSize_ = nullptr, *webZoom_ = nullptr;
    QComboBox* scheme_ = nullptr;
    std::array<PictureWell*, themeFiles.size()> wells_{};
    QPushButton *apply_ = nullptr, *removeFolder_ = nullptr, *changeFolder_ = nullptr;
    QListWidget* folders_ = nullptr;
    bool isFilling_ = false;
};

}  // namespace morvane::views
