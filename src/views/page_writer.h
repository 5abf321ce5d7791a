// views/page_writer.h: writes a page that was read (`HtmlPage`) into a document of the toolkit. Main thread.
//
// A stranger wrote the page: its length, its runs and the length of a block are bounded, so that it is laid out at
// once. Colours are those of the palette at that time.
#pragma once

#include <QTextCursor>
#include <string>
#include <vector>

#include "platform/styled_text.h"

class QTextDocument;

namespace morvane::views {

/// The whole address of a link or a picture, as the page's author wrote it; empty for what no page may point to. The
/// page's own address may be empty: then only whole addresses count.
[[nodiscard]] std::string resolvedLink(const std::string& link, const std::string& page);

struct WrittenPage {
    /// By picture of the page, in order: around the place that is kept free for it. Null for one that was cut off.
    std::vector<QTextCursor> pictures;
    bool isCut = false;  ///< the page goes on
};
/// The document is emptied first. Headings are larger than its font by steps, so that they follow its size.
WrittenPage writePage(QTextDocument& document, const HtmlPage& page, const std::string& address);

}  // namespace morvane::views
