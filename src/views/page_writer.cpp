#include "views/page_writer.h"

#include <QGuiApplication>
#include <QPalette>
#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextDocument>
#include <QUrl>
#include <algorithm>
#include <array>
#include <string_view>

#include "platform/http.h"
#include "views/labels.h"
#include "views/qt_text.h"

namespace morvane::views {

namespace {

// Bounds what laying out a hostile page costs: a tenth of a second or so, where there were minutes without them.
constexpr qsizetype longestPage = 120'000, longestBlock = 4000;  // UTF-16 units
constexpr std::size_t mostRuns = 4000, mostBlocks = 2000;
constexpr double betweenLines = 5, paragraphGap = 7, headingGap = 16,
                 bulletIndent = 16;  // points of the screen
constexpr char16_t bullet = u'\u2022';

bool isOwnLink(std::string_view link) {
    constexpr std::array<std::string_view, 3> own{"mvid://", "morvane://",
                                                  "com-codeweavers-crossover-crosstie:"};
    return std::ranges::any_of(own, [&](std::string_view scheme) { return link.starts_with(scheme); });
}

/// What stands for objects and frames inside the document is no text of a page.
QString textOfPage(const QString& part) {
    QString text = literal(fromQt(part));
    for (const char16_t special : {u'\uFFFC', u'\uFDD0', u'\uFDD1', u'\u2028', u'\u2029'})
        text.replace(QChar(special), QChar(QChar::ReplacementCharacter));
    return text;
}

class Writer {
  public:
    Writer(QTextDocument& document, const HtmlPage& page, const std::string& address)
        : page_(page), address_(address), text_(toQt(page.text.text)), cursor_(&document) {
        written_.pictures.resize(page.pictures.size());
    }

    WrittenPage write() {
        cursor_.beginEditBlock();
        cursor_.setBlockFormat(formatOfBlock());
        std::size_t runs = 0;
        for (const StyledRun& run : page_.text.runs) {
            if (++runs > mostRuns || isFull()) break;
            const auto left = static_cast<std::size_t>(text_.size() - place_);
            writeRun(run, place_ + static_cast<qsizetype>(std::min(run.length, left)));
        }
        written_.isCut = place_ < text_.size();
        cursor_.endEditBlock();
        return std::move(written_);
    }

  private:
    bool isFull() const { return place_ >= longestPage || blocks_ >= mostBlocks; }

    void writeRun(const StyledRun& run, qsizetype end) {
        const std::string link = resolvedLink(run.link, address_);
        while (place_ < end && !isFull()) {
            skipHeadingsBehind();
            if (isPictureHere()) {
                keepPlace(link);
            } else if (text_[place_] == '\n') {
                ++place_;
                beginBlock();
            } else {
                const qsizetype stop = nextStop(end);
                cursor_.insertText(textOfPage(text_.mid(place_, stop - place_)), formatOf(run, link));
                inBlock_ += stop - place_;
                place_ = stop;
                if (inBlock_ >= longestBlock) beginBlock();
            }
        }
    }

    /// Where something else than plain text of this run follows.
    qsizetype nextStop(qsizetype end) {
        if (lineEnd_ <= place_) {
            lineEnd_ = text_.indexOf('\n', place_);
            if (lineEnd_ < 0) lineEnd_ = text_.size();
        }
        qsizetype stop = std::min({end, lineEnd_, place_ + longestBlock - inBlock_, longestPage});
        if (picture_ < page_.pictures.size())
            stop = std::min(stop, static_cast<qsizetype>(page_.pictures[picture_].place));
        if (heading_ < page_.headings.size()) {
            const auto& heading = page_.headings[heading_];
            const auto start = static_cast<qsizetype>(heading.place);
            stop = std::min(stop, start > place_ ? start : start + static_cast<qsizetype>(heading.length));
        }
        // Not between the halves of a character.
        if (stop > place_ + 1 && stop < text_.size() && text_[stop].isLowSurrogate()) --stop;
        return std::max(stop, place_ + 1);
    }

    bool isPictureHere() const {
        return picture_ < page_.pictures.size() &&
               static_cast<qsizetype>(page_.pictures[picture_].place) <= place_;
    }
    /// The caller puts the picture there, or a text.
    void keepPlace(const std::string& link) {
        QTextCharFormat format;
        if (!link.empty()) {
            format.setAnchor(true);
            format.setAnchorHref(toQt(link));
        }
        const int start = cursor_.position();
        cursor_.insertText(QString(QChar(QChar::Nbsp)), format);
        QTextCursor place(cursor_);
        place.setPosition(start);
        place.setPosition(start + 1, QTextCursor::KeepAnchor);
        // What is written behind it is not part of it.
        place.setKeepPositionOnInsert(true);
        written_.pictures[picture_++] = place;
        ++place_;
        ++inBlock_;
    }

    static qsizetype endOf(const HtmlPage::Heading& heading) {
        return static_cast<qsizetype>(heading.place) + static_cast<qsizetype>(heading.length);
    }
    void skipHeadingsBehind() {
        while (heading_ < page_.headings.size() && endOf(page_.headings[heading_]) <= place_) ++heading_;
    }
    /// 0: none.
    int headingHere() const {
        const bool is = heading_ < page_.headings.size() &&
                        static_cast<qsizetype>(page_.headings[heading_].place) <= place_;
        return is ? page_.headings[heading_].level : 0;
    }

    void beginBlock() {
        skipHeadingsBehind();
        // Many empty lines are one.
        if (inBlock_ > 0) {
            ++blocks_;
            cursor_.insertBlock(formatOfBlock(), QTextCharFormat());
        } else {
            cursor_.setBlockFormat(formatOfBlock());
        }
        inBlock_ = 0;
    }
    QTextBlockFormat formatOfBlock() const {
        QTextBlockFormat format;
        format.setLineHeight(betweenLines, QTextBlockFormat::LineDistanceHeight);
        const int level = headingHere();
        format.setTopMargin(level > 0 && place_ > 0 ? headingGap : 0);
        format.setBottomMargin(paragraphGap);
        if (level > 0) format.setHeadingLevel(level);
        if (place_ < text_.size() && text_[place_] == QChar(bullet)) {
            format.setLeftMargin(bulletIndent);
            format.setTextIndent(-bulletIndent / 2);
        }
        return format;
    }

    QTextCharFormat formatOf(const StyledRun& run, const std::string& link) const {
        QTextCharFormat format;
        if (run.bold) format.setFontWeight(QFont::Bold);
        if (run.italic) format.setFontItalic(true);
        if (!link.empty()) {
            format.setAnchor(true);
            format.setAnchorHref(toQt(link));
            format.setForeground(QGuiApplication::palette().color(QPalette::Link));
            format.setFontUnderline(true);
            format.setToolTip(plainToolTip(link));
        }
        constexpr int largest = 3;  // twice the size of the text
        const int level = headingHere();
        if (level > 0) format.setProperty(QTextFormat::FontSizeAdjustment, std::max(largest + 1 - level, 0));
        return format;
    }

    const HtmlPage& page_;
    const std::string& address_;
    const QString text_;
    QTextCursor cursor_;
    WrittenPage written_;
    qsizetype place_ = 0, inBlock_ = 0, lineEnd_ = -1;
    std::size_t picture_ = 0, heading_ = 0, blocks_ = 1;
};

}  // namespace

std::string resolvedLink(const std::string& link, const std::string& page) {
    if (link.empty()) return {};
    if (isOwnLink(link)) return link;
    const QUrl written(toQt(link).trimmed());
    if (!written.isValid()) return {};
    const QUrl whole = page.empty() ? written : QUrl(toQt(page)).resolved(written);
    const std::string address = fromQt(whole.toString(QUrl::FullyEncoded));
    return isWebLink(address) ? address : std::string();
}

WrittenPage writePage(QTextDocument& document, const HtmlPage& page, const std::string& address) {
    document.clear();
    return Writer(document, page, address).write();
}

}  // namespace morvane::views
