#include "views/page_view.h"

#include <QDialog>
#include <QLabel>
#include <QPointer>
#include <QScrollArea>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QUrl>
#include <QVBoxLayout>
#include <algorithm>
#include <atomic>
#include <set>
#include <utility>

#include "foundation/threads.h"
#include "platform/http.h"
#include "views/labels.h"
#include "views/pixmaps.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {
namespace {

constexpr auto pictureScheme = "morvane-picture:";
constexpr QSize largestShown{560, 400}, largestKept{1600, 1600};
constexpr std::uint64_t longestPicture = std::uint64_t{8} << 20;

/// Font sizes of headings over the text's, by level.
constexpr double headingFactors[]{1.6, 1.35, 1.2, 1.1, 1.0, 1.0};

QTextImageFormat imageFormat(const QString& name, const QSize& size, const QString& description) {
    QTextImageFormat format;
    format.setName(name);
    format.setAnchor(true);
    format.setAnchorHref(name);
    format.setToolTip(description);
    if (!size.isEmpty()) {
        const QSize fitting = size.boundedTo(size.scaled(largestShown, Qt::KeepAspectRatio));
        format.setWidth(fitting.width());
        format.setHeight(fitting.height());
    }
    return format;
}

/// The places at which a page's text changes its look, in order.
std::set<std::size_t> seams(const HtmlPage& page) {
    std::set<std::size_t> places;
    std::size_t end = 0;
    for (const StyledRun& run : page.text.runs) places.insert(end += run.length);
    for (const HtmlPage::Heading& heading : page.headings) {
        places.insert(heading.place);
        places.insert(heading.place + heading.length);
    }
    for (const HtmlPage::Picture& picture : page.pictures) {
        places.insert(picture.place);
        places.insert(picture.place + 1);
    }
    return places;
}

QTextCharFormat headingFormat(QTextCharFormat format, int level, double points) {
    format.setFontWeight(QFont::Bold);
    format.setFontPointSize(points * headingFactors[std::clamp(level, 1, 6) - 1]);
    return format;
}

}  // namespace

std::string absoluteLink(const std::string& link, const std::string& page) {
    const QUrl url = QUrl(toQt(page)).resolved(QUrl(toQt(link)));
    const std::string whole = fromQt(url.toString(QUrl::FullyEncoded));
    const bool isOurs = url.scheme() == "mvid" || url.scheme() == "morvane";
    return isOurs || isWebLink(whole) ? whole : "";
}

PageView::PageView(QWidget* parent) : StyledView(parent), pages_(std::make_shared<std::atomic<unsigned>>(0)) {
    setFrameShape(QFrame::NoFrame);
    setLinkHandler([this](const std::string& link) { follow(link); });
}

void PageView::setPageLinkHandler(std::function<void(const std::string& link)> handler) {
    handler_ = std::move(handler);
}

void PageView::showPage(const HtmlPage& page, const std::string& address) {
    ++*pages_;
    address_ = address;
    pictures_.clear();
    fill(page);
    moveCursor(QTextCursor::Start);
    fetchPictures(page);
}

void PageView::fill(const HtmlPage& page) {
    document()->clear();
    document()->setDocumentMargin(theme::margin);
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    const QString text = toQt(page.text.text);
    std::size_t run = 0, runEnd = page.text.runs.empty() ? 0 : page.text.runs.front().length;
    auto heading = page.headings.begin();
    auto picture = page.pictures.begin();
    std::size_t place = 0;
    auto places = seams(page);
    places.insert(static_cast<std::size_t>(text.size()));
    for (const std::size_t next : places) {
        if (next <= place || next > static_cast<std::size_t>(text.size())) continue;
        while (run < page.text.runs.size() && runEnd <= place) {
            if (++run < page.text.runs.size()) runEnd += page.text.runs[run].length;
        }
        while (heading != page.headings.end() && heading->place + heading->length <= place) ++heading;
        while (picture != page.pictures.end() && picture->place < place) ++picture;
        if (picture != page.pictures.end() && picture->place == place) {
            const QString name = pictureScheme + QString::number(picture - page.pictures.begin());
            cursor.insertImage(imageFormat(name, {}, literalLine(picture->description)));
        } else {
            QTextCharFormat format =
                run < page.text.runs.size() ? formatOf(page.text.runs[run]) : QTextCharFormat();
            const bool isHeading = heading != page.headings.end() && heading->place <= place;
            if (isHeading) format = headingFormat(format, heading->level, font().pointSizeF());
            const auto length = static_cast<qsizetype>(next - place);
            const QString piece = text.mid(static_cast<qsizetype>(place), length);
            cursor.insertText(literal(fromQt(piece)), format);
        }
        place = next;
    }
    QTextBlockFormat block;
    block.setBottomMargin(theme::gap);
    cursor.select(QTextCursor::Document);
    cursor.mergeBlockFormat(block);
    cursor.endEditBlock();
}

void PageView::fetchPictures(const HtmlPage& page) {
    std::vector<std::string> addresses;
    for (const HtmlPage::Picture& picture : page.pictures) {
        addresses.push_back(absoluteLink(picture.address, address_));
    }
    if (addresses.empty()) return;
    MVThread::dispatchQueueWithName(
        "app.morvane.pagePictures", Priority::low,
        [self = QPointer<PageView>(this), pages = pages_, number = pages_->load(),
         addresses = std::move(addresses)] {
            for (std::size_t picture = 0; picture < addresses.size() && *pages == number; ++picture) {
                if (!isWebLink(addresses[picture])) continue;
                const HttpResponse answer =
                    http::fetch({.url = addresses[picture], .longestBody = longestPicture});
                auto image = decodedImage(answer.body, largestKept);
                if (!image) continue;
                MVThread::dispatchBlockInMainQueue([self, pages, number, picture, image = std::move(*image)] {
                    if (self && *pages == number) self->take(pictureScheme + QString::number(picture), image);
                });
            }
        });
}

void PageView::take(const QString& name, const QImage& picture) {
    pictures_[name] = picture;
    document()->addResource(QTextDocument::ImageResource, QUrl(name), picture);
    // The format holds the size, so that the text makes room.
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            const QTextFragment fragment = part.fragment();
            const QTextImageFormat old = fragment.charFormat().toImageFormat();
            if (!old.isValid() || old.name() != name) continue;
            QTextCursor cursor(document());
            cursor.setPosition(fragment.position());
            cursor.setPosition(fragment.position() + fragment.length(), QTextCursor::KeepAnchor);
            cursor.setCharFormat(imageFormat(name, picture.size(), old.toolTip()));
            return;
        }
    }
}

void PageView::follow(const std::string& link) {
    if (link.starts_with(pictureScheme)) return enlarge(toQt(link));
    const std::string whole = absoluteLink(link, address_);
    if (!whole.empty() && handler_) handler_(whole);
}

void PageView::enlarge(const QString& name) {
    const QImage picture = pictures_.value(name);
    if (picture.isNull()) return;
    auto* viewer = new QDialog(this);
    viewer->setAttribute(Qt::WA_DeleteOnClose);
    viewer->setWindowTitle(shown("Picture"));
    auto* label = new QLabel;
    label->setAccessibleName(viewer->windowTitle());
    label->setPixmap(QPixmap::fromImage(picture));
    auto* area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidget(label);
    auto* layout = new QVBoxLayout(viewer);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(area);
    viewer->resize(picture.size().boundedTo({1000, 700}) + QSize(4, 4));
    viewer->open();
}

}  // namespace morvane::views
