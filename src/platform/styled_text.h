// platform/styled_text.h: HTML fragments as styled text. Any thread.
#pragma once

#include <string>
#include <string_view>

#include "platform/value.h"

namespace morvane {

/// Bold and italic per character, links, entities, and line breaks of `<br>`, `<p>`, `<div>` and list items;
/// scripts, styles and everything else that is not text is dropped. White space folds as in HTML. Never
/// fails: bad markup gives the text that a browser would show.
[[nodiscard]] StyledText styledTextFromHtml(std::string_view html);

/// The text in one format, whose length does not matter.
[[nodiscard]] StyledText styledText(std::string text, StyledRun format = {});

}  // namespace morvane
