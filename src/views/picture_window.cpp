#include "views/picture_window.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QVBoxLayout>

#include "views/background.h"
#include "views/labels.h"
#include "views/picture_fetcher.h"
#include "views/pixmaps.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr QSize firstSize{760, 560}, mostPixels{4096, 4096};

}  // namespace

PictureWindow* PictureWindow::show(const std::string& description,
                                   const std::shared_ptr<const std::string>& bytes, QWidget* parent) {
    auto* window = new PictureWindow(description, parent);
    window->QDialog::show();
    inBackground(
        "app.morvane.decodePicture", window, [bytes] { return decodedStrangersImage(*bytes, mostPixels); },
        [window](const std::optional<QImage>& image) { window->take(image); });
    return window;
}

PictureWindow::PictureWindow(const std::string& description, QWidget* parent)
    : QDialog(parent),
      picture_(new QLabel),
      description_(new HintLabel(literal(description))),
      area_(new QScrollArea),
      wholeSize_(new QPushButton(shown("Actual Size"))) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(description.empty() ? shown("Picture") : literalLine(description));
    picture_->setAlignment(Qt::AlignCenter);
    picture_->setAccessibleName(windowTitle());
    area_->setWidget(picture_);
    area_->setWidgetResizable(true);
    area_->setFrameShape(QFrame::NoFrame);
    area_->setAccessibleName(windowTitle());
    description_->setAlignment(Qt::AlignCenter);
    description_->setVisible(!description.empty());
    wholeSize_->setCheckable(true);
    wholeSize_->setEnabled(false);
    connect(wholeSize_, &QPushButton::toggled, this, &PictureWindow::draw);
    auto* buttons = new QDialogButtonBox;
    buttons->addButton(wholeSize_, QDialogButtonBox::ActionRole);
    auto* close = buttons->addButton(shown("Close"), QDialogButtonBox::RejectRole);
    close->setDefault(true);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* all = new QVBoxLayout(this);
    all->setSpacing(theme::gap);
    all->addWidget(area_, 1);
    all->addWidget(description_);
    all->addWidget(buttons);
    resize(firstSize.boundedTo(screen()->availableGeometry().size()));
    close->setFocus();
}

void PictureWindow::take(const std::optional<QImage>& image) {
    if (!image) {
        picture_->setText(shown("A picture that cannot be shown"));
        return;
    }
    image_ = *image;
    wholeSize_->setEnabled(true);
    draw();
}

void PictureWindow::draw() {
    if (image_.isNull()) return;
    const double scale = devicePixelRatioF();
    const QSize room = wholeSize_->isChecked() ? mostPixels : area_->maximumViewportSize();
    picture_->setPixmap(fittingPixmap(image_, room, scale));
}

void PictureWindow::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    draw();
}

}  // namespace morvane::views
