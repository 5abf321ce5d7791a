// Pages of strangers as styled text: formats and places fit the text.
#include "foundation/text.h"
#include "fuzz/fuzzing.h"
#include "platform/styled_text.h"
#include "platform/utf8.h"

using namespace morvane;
using namespace morvane::fuzzing;

namespace {

std::size_t unitsOf(const std::string& text) {
    std::size_t units = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        // One for each character, and one more where it takes four bytes.
        units += (byte & 0xC0U) != 0x80U ? 1U : 0U;
        units += byte >= 0xF0U ? 1U : 0U;
    }
    return units;
}

std::size_t requireFits(const StyledText& styled) {
    std::size_t units = 0;
    for (const StyledRun& run : styled.runs) units += run.length;
    require(MVString::isValidUtf8(styled.text) && units == unitsOf(styled.text));
    return units;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view html = textOf(data, size);
    requireFits(styledTextFromHtml(html));
    const HtmlPage page = htmlPage(html);
    const std::size_t units = requireFits(page.text);
    require(page.pictures.size() <= HtmlPage::mostPictures);
    for (const auto& picture : page.pictures) require(picture.place < units);
    for (const auto& heading : page.headings) require(heading.place + heading.length <= units);
    return 0;
}
