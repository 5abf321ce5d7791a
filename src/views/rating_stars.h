// views/rating_stars.h: draws the ratings of a game by families of graphics cards (`NSDescriptionView::Page::stars`).
// Main thread.
#pragma once

#include <QWidget>
#include <array>
#include <optional>
#include <string>

class QGridLayout;
class QLabel;

namespace morvane::views {

/// Five stars with halves.
class StarsRow : public QWidget {
    Q_OBJECT
  public:
    explicit StarsRow(QWidget* parent = nullptr);
    /// 0 to 5.
    void setValue(double value);
    [[nodiscard]] QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    double value_ = 0;
};

class RatingStars : public QWidget {
    Q_OBJECT
  public:
    explicit RatingStars(QWidget* parent = nullptr);

    /// In the order of the page.
    void setRatings(const std::array<double, 4>& ratings);
    /// The user's own family comes first, as `NSComputerInformation::graphicCardType` names it.
    void setOwnFamily(const std::optional<std::string>& family);

  private:
    struct Family {
        QLabel* name = nullptr;
        StarsRow* stars = nullptr;
    };
    void place(std::size_t first);

    QGridLayout* rows_;
    std::array<Family, 4> families_;
};

}  // namespace morvane::views
