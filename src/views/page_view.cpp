#include "views/page_view.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPainter>
#include <QScrollBar>
#include <QTextDocument>
#include <QTimer>
#include <chrono>
#include <map>
#include <utility>

#include "views/labels.h"
#include "views/page_writer.h"
#include "views/picture_fetcher.h"
#include "views/picture_window.h"
#include "views/qt_text.h"
#include "views/styled_view.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

// Points of the screen.
constexpr int widestColumn = 720, highestPicture = 480;
constexpr QSize placeholderSize{240, 135};
constexpr double largerThanControls = 1.1, zoomStep = 1.1;
constexpr const char* pictureScheme = "picture";

QString nameOf(std::size_t number) {
    return QStringLiteral("%1:%2").arg(pictureScheme).arg(number);
}

/// In the place of a picture that is on its way.
QImage placeholder(double scale) {
    QImage image((QSizeF(placeholderSize) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QGuiApplication::palette().color(QPalette::Button));
    painter.drawRoundedRect(QRect(QPoint(), placeholderSize), theme::radius, theme::radius);
    constexpr int symbolSize = 40;
    const QPixmap symbol = theme::symbol("picture", symbolSize, theme::faintText(), scale);
    painter.drawPixmap((placeholderSize.width() - symbolSize) / 2,
                       (placeholderSize.height() - symbolSize) / 2, symbol);
    painter.end();
    image.setDevicePixelRatio(1);
    return image;
}

}  // namespace

PageView::PageView(QWidget* parent)
    : QTextBrowser(parent),
      follow_(openWebLink),
      fetcher_(new PictureFetcher(this)),
      drawing_(new QTimer(this)),
      fontSize_(font().pointSizeF() * largerThanControls) {
    setOpenLinks(false);
    setOpenExternalLinks(false);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTextInteractionFlags(Qt::TextBrowserInteraction | Qt::TextSelectableByKeyboard);
    document()->setDocumentMargin(theme::margin);
    theme::makeFlush(*this);
    makeTextStandardSize();
    connect(this, &QTextBrowser::anchorClicked, this, &PageView::follow);
    connect(fetcher_, &PictureFetcher::came, this, [this](std::size_t number, const QImage& image) {
        sources_[number].image = image;
        drawSoon(number);
    });
    connect(fetcher_, &PictureFetcher::missing, this, [this](std::size_t number) {
        sources_[number].isMissing = true;
        drawSoon(number);
    });
    drawing_->setSingleShot(true);
    connect(drawing_, &QTimer::timeout, this, &PageView::drawChanged);
    connect(this, &PageView::pictureWanted, this,
            [this](const std::string& description, const std::shared_ptr<const std::string>& bytes) {
                PictureWindow::show(description, bytes, this);
            });
}

// ---- Pages

void PageView::showPage(HtmlPage page, const std::string& address) {
    page_ = std::move(page);
    address_ = address;
    sources_.clear();
    changed_.clear();
    sourceOfPicture_.clear();
    std::map<std::string, std::size_t> known;
    std::vector<std::string> addresses;
    for (const HtmlPage::Picture& picture : page_.pictures) {
        const std::string whole = resolvedLink(picture.address, address_);
        const auto [found, isNew] = known.try_emplace(whole, sources_.size());
        if (isNew) {
            sources_.push_back({.address = whole, .isMissing = whole.empty()});
            addresses.push_back(whole);
        }
        sourceOfPicture_.push_back(found->second);
    }
    write();
    moveCursor(QTextCursor::Start);
    verticalScrollBar()->setValue(0);
    fetcher_->fetch(std::move(addresses),
                    (QSizeF(widestColumn, highestPicture) * devicePixelRatioF()).toSize());
}

void PageView::clearPage() {
    showPage({}, {});
}

void PageView::write() {
    for (Source& source : sources_) source.places.clear();
    WrittenPage written = writePage(*document(), page_, address_);
    for (std::size_t picture = 0; picture < written.pictures.size(); ++picture) {
        if (!written.pictures[picture].isNull())
            sources_[sourceOfPicture_[picture]].places.push_back(
                {written.pictures[picture], page_.pictures[picture].description});
    }
    if (written.isCut) {
        QTextCursor end(document());
        end.movePosition(QTextCursor::End);
        end.insertBlock(QTextBlockFormat(), QTextCharFormat());
        end.insertText(shown("The page goes on in the browser."));
    }
    drawnWidth_ = columnWidth();
    for (std::size_t number = 0; number < sources_.size(); ++number) changed_.insert(number);
    drawChanged();
}

void PageView::drawSoon(std::size_t number) {
    constexpr std::chrono::milliseconds together{50};
    changed_.insert(number);
    if (!drawing_->isActive()) drawing_->start(together);
}

void PageView::drawChanged() {
    QTextCursor edit(document());
    edit.beginEditBlock();
    for (const std::size_t number : std::exchange(changed_, {})) draw(number);
    edit.endEditBlock();
}

void PageView::draw(std::size_t number) {
    Source& source = sources_[number];
    if (source.isMissing) {
        for (Place& place : source.places) putDescription(place);
        source.places.clear();
        return;
    }
    const bool hasCome = !source.image.isNull();
    const QImage image = hasCome ? source.image : placeholder(devicePixelRatioF());
    document()->addResource(QTextDocument::ImageResource, QUrl(nameOf(number)), image);
    QSizeF size = QSizeF(placeholderSize);
    if (hasCome) {
        size = QSizeF(image.size()).scaled(imageBound(), Qt::KeepAspectRatio);
        // Never larger than it is.
        if (size.width() > image.width()) size = image.size();
    }
    for (Place& place : source.places) putImage(number, place, size);
}

void PageView::putDescription(Place& place) {
    const QString href = place.cursor.charFormat().anchorHref();
    const bool isLink = !href.isEmpty() && QUrl(href).scheme() != pictureScheme;
    QTextCharFormat format;
    format.setFontItalic(true);
    format.setForeground(isLink ? QGuiApplication::palette().color(QPalette::Link) : theme::faintText());
    if (isLink) {
        format.setAnchor(true);
        format.setAnchorHref(href);
    }
    place.cursor.insertText(
        place.description.empty() ? shown("A picture that cannot be shown") : literalLine(place.description),
        format);
}

void PageView::putImage(std::size_t number, Place& place, QSizeF size) {
    const QTextCharFormat before = place.cursor.charFormat();
    QTextImageFormat format;
    format.setName(nameOf(number));
    format.setWidth(size.width());
    format.setHeight(size.height());
    if (!place.description.empty()) format.setToolTip(plainToolTip(place.description));
    // A picture without a link of its own leads to itself.
    format.setAnchor(true);
    format.setAnchorHref(before.isAnchor() ? before.anchorHref() : nameOf(number));
    const int start = place.cursor.selectionStart();
    place.cursor.insertImage(format);
    place.cursor.setPosition(start);
    place.cursor.setPosition(start + 1, QTextCursor::KeepAnchor);
}

void PageView::follow(const QUrl& link) {
    if (link.scheme() == pictureScheme) {
        const auto number = static_cast<std::size_t>(link.path().toULongLong());
        if (number >= sources_.size()) return;
        const auto& places = sources_[number].places;
        if (const auto bytes = fetcher_->bytes(number); bytes && !places.empty())
            Q_EMIT pictureWanted(places.front().description, bytes);
        return;
    }
    // A copy: what follows may fill the view anew.
    const auto handler = follow_;
    if (handler) handler(fromQt(link.toString(QUrl::FullyEncoded)));
}

// ---- Looks

int PageView::columnWidth() const {
    return viewport()->width() - 2 * theme::margin;
}

QSize PageView::imageBound() const {
    return {std::max(columnWidth(), placeholderSize.width() / 2), highestPicture};
}

void PageView::keepColumn() {
    // A line of a text is no longer than the eye follows.
    const int room = contentsRect().width() - verticalScrollBar()->sizeHint().width();
    const int side = std::max((room - widestColumn) / 2, 0);
    setViewportMargins(side, 0, side, 0);
}

void PageView::resizeEvent(QResizeEvent* event) {
    keepColumn();
    QTextBrowser::resizeEvent(event);
    if (columnWidth() == drawnWidth_) return;
    drawnWidth_ = columnWidth();
    for (std::size_t number = 0; number < sources_.size(); ++number) {
        if (!sources_[number].image.isNull()) changed_.insert(number);
    }
    drawChanged();
}

void PageView::changeEvent(QEvent* event) {
    QTextBrowser::changeEvent(event);
    if (event->type() != QEvent::PaletteChange && event->type() != QEvent::ApplicationPaletteChange) return;
    // While it is made, there is nothing to draw anew.
    if (page_.text.text.empty()) return;
    const int place = verticalScrollBar()->value();
    write();
    verticalScrollBar()->setValue(place);
}

void PageView::makeTextStandardSize() {
    QFont font = document()->defaultFont();
    font.setPointSizeF(fontSize_);
    document()->setDefaultFont(font);
}

void PageView::makeTextLarger() {
    QFont font = document()->defaultFont();
    font.setPointSizeF(font.pointSizeF() * zoomStep);
    document()->setDefaultFont(font);
}

QVariant PageView::loadResource(int, const QUrl&) {
    return {};
}

}  // namespace morvane::views
