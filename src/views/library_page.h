// views/library_page.h: draws the library (`LibraryView`): the user's games and the catalogue, as a grid or a list.
// Main thread.
#pragma once

#include <QWidget>

#include "app/app_delegate.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class QStackedWidget;
class QToolButton;

namespace morvane::views {

class CoverDelegate;
class LibraryModel;

class LibraryPage : public QWidget {
    Q_OBJECT
  public:
    /// The application must outlive it.
    explicit LibraryPage(AppDelegate& app, QWidget* parent = nullptr);

    /// The rows, or an icon of them, have changed.
    void refresh();
    void focusSearch();
    /// `NSAppsArray::localTab` or `catalogueTab`.
    void showTab(std::int64_t tab);
    void showAs(bool grid);
    [[nodiscard]] bool isGrid() const { return grid_; }

  Q_SIGNALS:
    /// The user wants to see a row's page.
    void gameWanted(std::size_t row);
    /// Enter, or a double click: the game is to be played or installed.
    void gameActivated();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QWidget* makeBar();
    QWidget* makeEmptyPage();
    void showMenuOfRow(const QPoint& place);
    void addMenuItems(class QMenu& menu, const std::vector<LibraryMenuItem>& items);
    void removeCurrent();
    void tellWhyEmpty();

    AppDelegate& app_;
    LibraryModel* model_;
    CoverDelegate* delegate_;
    QListView* list_;
    QLineEdit* search_;
    QToolButton *mine_, *catalogue_, *asGrid_, *asList_;
    QStackedWidget* stack_;
    QLabel* emptyText_;
    QPushButton *browse_, *again_;
    std::int64_t tab_ = NSAppsArray::localTab;
    bool grid_ = true;
};

}  // namespace morvane::views
