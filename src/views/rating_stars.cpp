#include "views/rating_stars.h"

#include <QGridLayout>
#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <algorithm>

#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {
namespace {

constexpr std::array names{"ATi/AMD", "NVIDIA", "Intel Iris", "Intel HD"};
constexpr int starEdge = 16, starGap = 2, most = 5;

}  // namespace

StarsRow::StarsRow(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void StarsRow::setValue(double value) {
    value_ = std::clamp(value, 0.0, double{most});
    update();
}

QSize StarsRow::sizeHint() const {
    return {most * (starEdge + starGap), starEdge};
}

void StarsRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    for (int star = 0; star < most; ++star) {
        const double rest = value_ - star;
        constexpr double quarter = 0.25;
        const char* symbol = rest >= 1 - quarter ? "star" : rest >= quarter ? "star-half" : "star-empty";
        const QColor colour = rest >= quarter ? theme::caution() : theme::faintText();
        const int place = layoutDirection() == Qt::RightToLeft ? most - 1 - star : star;
        painter.drawPixmap(place * (starEdge + starGap), 0,
                           theme::symbol(symbol, starEdge, colour, devicePixelRatioF()));
    }
}

RatingStars::RatingStars(QWidget* parent) : QWidget(parent), rows_(new QGridLayout(this)) {
    rows_->setContentsMargins(0, 0, 0, 0);
    rows_->setHorizontalSpacing(theme::margin);
    rows_->setVerticalSpacing(theme::gap / 2);
    rows_->setColumnStretch(2, 1);
    for (std::size_t family = 0; family < families_.size(); ++family) {
        families_.at(family) = {new QLabel(names.at(family), this), new StarsRow(this)};
    }
    place(0);
}

void RatingStars::place(std::size_t first) {
    int row = 0;
    const auto add = [&](const Family& family) {
        rows_->addWidget(family.stars, row, 0);
        rows_->addWidget(family.name, row++, 1);
    };
    add(families_.at(first));
    for (std::size_t family = 0; family < families_.size(); ++family) {
        QFont font = families_.at(family).name->font();
        font.setBold(false);
        families_.at(family).name->setFont(font);
        if (family != first) add(families_.at(family));
    }
}

void RatingStars::setRatings(const std::array<double, 4>& ratings) {
    for (std::size_t family = 0; family < families_.size(); ++family) {
        families_.at(family).stars->setValue(ratings.at(family));
        const QString value = QLocale().toString(ratings.at(family), 'f', 1);
        const QString text = shown("%@ of 5 stars on %@", {fromQt(value), names.at(family)});
        families_.at(family).stars->setToolTip(text);
        families_.at(family).stars->setAccessibleName(text);
    }
}

void RatingStars::setOwnFamily(const std::optional<std::string>& family) {
    const auto own = std::ranges::find(names, family.value_or(""));
    if (own == names.end()) return;
    const auto number = static_cast<std::size_t>(own - names.begin());
    place(number);
    QFont font = families_.at(number).name->font();
    font.setBold(true);
    families_.at(number).name->setFont(font);
    families_.at(number).name->setToolTip(shown("The graphics card of this computer"));
}

}  // namespace morvane::views
