#include "views/video_window.h"

#include <QDialogButtonBox>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include "library/game_data.h"
#include "platform/http.h"
#include "platform/styled_text.h"
#include "views/background.h"
#include "views/labels.h"
#include "views/pixmaps.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {
namespace {

constexpr QSize stillSize{480, 270};
constexpr int playEdge = 72;
constexpr std::uint64_t longestPicture = std::uint64_t{8} << 20;

std::optional<QImage> fetchedStill(const std::string& link) {
    const auto address = NSGameData::stillPictureOfLink(link);
    if (!address || !isWebLink(*address)) return std::nullopt;
    return decodedImage(http::fetch({.url = *address, .longestBody = longestPicture}).body, 4 * stillSize);
}

}  // namespace

VideoWindow::VideoWindow(QWidget* parent)
    : QDialog(parent),
      still_(new QPushButton),
      open_(new QPushButton(theme::icon("website"), shown("Watch in the Browser"))),
      text_(new BodyLabel(QString())) {
    still_->setFixedSize(stillSize);
    still_->setIconSize(stillSize);
    still_->setFlat(true);
    still_->setAutoDefault(false);
    still_->setAccessibleName(shown("Watch in the Browser"));
    text_->setAlignment(Qt::AlignCenter);
    text_->setMinimumWidth(stillSize.width());
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    buttons->button(QDialogButtonBox::Close)->setText(shown("Close"));
    buttons->button(QDialogButtonBox::Close)->setAutoDefault(false);
    buttons->addButton(open_, QDialogButtonBox::ActionRole);
    open_->setDefault(true);
    auto* column = new QVBoxLayout(this);
    column->addWidget(still_, 0, Qt::AlignCenter);
    column->addWidget(text_);
    column->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    for (QPushButton* button : {still_, open_}) {
        connect(button, &QPushButton::clicked, this, [this] { Q_EMIT linkWanted(link_); });
    }
}

void VideoWindow::show(const NSDescriptionView::HtmlWindow& window) {
    setWindowTitle(literalLine(window.name));
    // What is shown in the browser is a page of the web, or nothing.
    link_ = isWebLink(window.link) ? window.link : "";
    const bool hasLink = !link_.empty();
    still_->setVisible(hasLink);
    open_->setVisible(hasLink);
    const QString text = literal(htmlPage(window.html).text.text).trimmed();
    text_->setText(hasLink ? literal(link_) : text.isEmpty() ? shown("There is nothing to watch.") : text);
    showStill({});
    QDialog::show();
    raise();
    activateWindow();
    if (!hasLink) return;
    inBackground(
        "app.morvane.stillPicture", this, [link = link_] { return fetchedStill(link); },
        [this, link = link_](const std::optional<QImage>& picture) {
            if (picture && link == link_) showStill(*picture);
        });
}

void VideoWindow::showStill(const QImage& picture) {
    const double scale = devicePixelRatioF();
    QPixmap still(stillSize * scale);
    still.setDevicePixelRatio(scale);
    still.fill(Qt::black);
    QPainter painter(&still);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    if (!picture.isNull()) {
        const QPixmap fitting = fittingPixmap(picture, stillSize, scale);
        const QSizeF size = fitting.deviceIndependentSize();
        painter.drawPixmap(
            QPointF((stillSize.width() - size.width()) / 2, (stillSize.height() - size.height()) / 2),
            fitting);
    }
    const QRect place(QPoint((stillSize.width() - playEdge) / 2, (stillSize.height() - playEdge) / 2),
                      QSize(playEdge, playEdge));
    painter.setPen(QPen(Qt::white, 3));
    painter.setBrush(QColor(0, 0, 0, 150));
    painter.drawEllipse(place);
    const int edge = playEdge / 2;
    painter.drawPixmap(place.center().x() - edge / 2 + 3, place.center().y() - edge / 2 + 1,
                       theme::symbol("play", edge, Qt::white, scale));
    painter.end();
    still_->setIcon(QIcon(still));
}

}  // namespace morvane::views
