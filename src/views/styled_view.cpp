#include "views/styled_view.h"

#include <QGuiApplication>
#include <QTextBlock>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextDocument>
#include <algorithm>

#include "library/catalogue_addresses.h"
#include "platform/host.h"
#include "platform/http.h"
#include "views/labels.h"
#include "views/qt_text.h"

namespace morvane::views {

namespace {

enum RunProperty { storedFont = QTextFormat::UserProperty + 1, storedSize, storedWhite };

StyledRun runOf(const QTextCharFormat& format) {
    return {.bold = format.fontWeight() >= QFont::DemiBold,
            .italic = format.fontItalic(),
            .font = fromQt(format.stringProperty(storedFont)),
            .fontSize = format.doubleProperty(storedSize),
            .link = fromQt(format.anchorHref()),
            .white = format.boolProperty(storedWhite)};
}

void append(StyledText& text, const QString& more, StyledRun run) {
    if (more.isEmpty()) return;
    text.text += fromQt(more);
    const auto length = static_cast<std::size_t>(more.size());
    if (!text.runs.empty()) {
        run.length = text.runs.back().length;
        if (run == text.runs.back()) {
            text.runs.back().length += length;
            return;
        }
    }
    run.length = length;
    text.runs.push_back(std::move(run));
}

}  // namespace

QTextCharFormat formatOf(const StyledRun& run) {
    QTextCharFormat format;
    if (run.bold) format.setFontWeight(QFont::Bold);
    if (run.italic) format.setFontItalic(true);
    if (!run.link.empty()) {
        format.setAnchor(true);
        format.setAnchorHref(toQt(run.link));
        format.setForeground(QBrush(QGuiApplication::palette().color(QPalette::Link)));
        format.setFontUnderline(true);
    }
    if (!run.font.empty()) format.setProperty(storedFont, toQt(run.font));
    if (run.fontSize > 0) format.setProperty(storedSize, run.fontSize);
    if (run.white) format.setProperty(storedWhite, true);
    return format;
}

void fillDocument(QTextDocument& document, const StyledText& text) {
    document.clear();
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    const QString characters = literal(text.text);
    qsizetype place = 0;
    for (const StyledRun& run : text.runs) {
        const auto left = static_cast<std::size_t>(characters.size() - place);
        const auto length = static_cast<qsizetype>(std::min(run.length, left));
        cursor.insertText(characters.mid(place, length), formatOf(run));
        place += length;
    }
    cursor.insertText(characters.mid(place), QTextCharFormat());
    cursor.endEditBlock();
}

StyledText styledTextOf(const QTextDocument& document) {
    StyledText text;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (block != document.begin()) append(text, "\n", runOf(block.charFormat()));
        for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment) {
            const QTextFragment part = fragment.fragment();
            append(text, part.text().replace(QChar::LineSeparator, '\n'), runOf(part.charFormat()));
        }
    }
    return text;
}

StyledView::StyledView(QWidget* parent) : QTextBrowser(parent), follow_(openWebLink) {
    setOpenLinks(false);
    setOpenExternalLinks(false);
    setTextInteractionFlags(Qt::TextBrowserInteraction | Qt::TextSelectableByKeyboard);
    connect(this, &QTextBrowser::anchorClicked, this, [this](const QUrl& link) {
        // A copy: what follows may fill the view anew.
        const auto follow = follow_;
        if (follow) follow(fromQt(link.toString(QUrl::FullyEncoded)));
    });
}

void StyledView::showText(const StyledText& text) {
    fillDocument(*document(), text);
    moveCursor(QTextCursor::Start);
}

void StyledView::setLinkHandler(std::function<void(const std::string& link)> handler) {
    follow_ = std::move(handler);
}

QVariant StyledView::loadResource(int, const QUrl&) {
    return {};
}

void openWebLink(const std::string& link) {
    if (isWebLink(link)) host().userInterface.openLink(link);
}

}  // namespace morvane::views
