// views/library_list.h: draws the games of the library as a grid of covers or a list (`LibraryModel`). Main thread.
#pragma once

#include <QListView>
#include <QPixmap>

namespace morvane::views {

class CoverDelegate;

class LibraryList : public QListView {
    Q_OBJECT
  public:
    explicit LibraryList(QWidget* parent = nullptr);

    /// The size of a cover with its name in the grid; empty for the list.
    void setCover(QSize cover);
    /// The user's picture behind the games; a null one for none.
    void setBackground(const QPixmap& picture);
    /// The user's picture of the button over a cover; a null one for none.
    void setButtonPicture(const QPixmap& picture);
    void setShelf(bool shows);

  Q_SIGNALS:
    /// The button over a cover: play, or stop.
    void actionClicked(const QModelIndex& index);
    /// Enter, or a double click.
    void gameActivated(const QModelIndex& index);
    void removalWanted(const QModelIndex& index);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    CoverDelegate* delegate_;
    QPixmap background_, scaled_;
};

}  // namespace morvane::views
