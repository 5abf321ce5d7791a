// views/library_page.h: draws the library (`LibraryView`): the user's games and the catalogue, as a grid or a list.
// Main thread.
#pragma once

#include <QWidget>

#include "app/app_delegate.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QMenu;
class QModelIndex;
class QPushButton;
class QSlider;
class QStackedWidget;
class QTimer;
class QToolButton;

namespace morvane::views {

class LibraryList;
class LibraryModel;

class LibraryPage : public QWidget {
    Q_OBJECT
  public:
    /// The application must outlive it.
    explicit LibraryPage(AppDelegate& app, QWidget* parent = nullptr);

    /// The rows have changed.
    void refresh();
    void refreshRow(std::size_t row);
    void focusSearch();
    /// `localTab` or `catalogueTab`.
    void showTab(std::int64_t tab);
    void showAs(bool grid);
    [[nodiscard]] bool isGrid() const { return grid_; }
    /// The user's picture behind the games; none for an empty path. Read in the background.
    void setBackground(const std::string& picture);
    /// The user's picture of the button over a cover, as `setBackground`.
    void setButtonPicture(const std::string& picture);
    /// The shelf as the setting says.
    void updateShelf();

  Q_SIGNALS:
    /// The user has chosen the row.
    void gameWanted(std::size_t row);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QWidget* makeBar();
    QWidget* makeEmptyPage();
    void makeTabs(QWidget* bar);
    void makeSearch(QWidget* bar);
    void makeLooks(QWidget* bar);
    QToolButton* makeButton(QWidget* bar, const QString& title, std::string_view symbol);
    void showMenuOfRow(const QPoint& place);
    void addMenuItems(QMenu& menu, const std::vector<LibraryMenuItem>& items);
    void activate(const QModelIndex& index);
    void clickAction(const QModelIndex& index);
    void remove(const QModelIndex& index);
    void tellWhyEmpty();
    void takeScale();
    void setPicture(const std::string& picture, QSize largest, void (LibraryList::*set)(const QPixmap&));
    [[nodiscard]] std::string pathOf(const QModelIndex& index) const;

    AppDelegate& app_;
    LibraryModel* model_;
    LibraryList* list_;
    QLineEdit* search_ = nullptr;
    QToolButton *mine_ = nullptr, *catalogue_ = nullptr, *asGrid_ = nullptr, *asList_ = nullptr,
                *order_ = nullptr;
    QSlider* scale_ = nullptr;
    QTimer* storeScale_;
    QStackedWidget* stack_;
    QLabel* emptyText_ = nullptr;
    QLabel* emptyHint_ = nullptr;
    QPushButton *browse_ = nullptr, *again_ = nullptr, *openPort_ = nullptr;
    std::int64_t tab_ = localTab;
    bool grid_ = true;
};

}  // namespace morvane::views
