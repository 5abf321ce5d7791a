// platform/styled_text.h: HTML as styled text: fragments, and pages with headings and pictures. Any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/value.h"

namespace morvane {

/// Bold and italic per character, links, entities, and line breaks of `<br>`, `<p>`, `<div>` and list items;
/// scripts, styles and everything else that is not text is dropped. White space folds as in HTML. Never
/// fails: bad markup gives the text that a browser would show.
[[nodiscard]] StyledText styledTextFromHtml(std::string_view html);

/// A page as it is read without scripts, styles and frames. Places and lengths are in UTF-16 units of the text.
struct HtmlPage {
    static constexpr std::size_t mostPictures = 100;  ///< further ones are left out
    struct Picture {
        std::size_t place = 0;             ///< of the U+FFFC that stands for it
        std::string address, description;  ///< as the page gives them
    };
    struct Heading {
        std::size_t place = 0, length = 0;
        int level = 1;  ///< 1 to 6
    };
    std::string title;
    StyledText text;  ///< a line is a block of the page; list items begin with a bullet
    std::vector<Picture> pictures;
    std::vector<Heading> headings;
};
/// As `styledTextFromHtml`.
[[nodiscard]] HtmlPage htmlPage(std::string_view html);

/// The text in one format, whose length does not matter.
[[nodiscard]] StyledText styledText(std::string text, StyledRun format = {});

}  // namespace morvane
