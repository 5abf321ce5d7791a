// Lines and descriptions of a catalogue, and the pages that are made of them.
#include <cmath>

#include "foundation/text.h"
#include "fuzz/fuzz_machine.h"
#include "fuzz/fuzzing.h"
#include "library/game_data.h"
#include "library/trailer_pages.h"

using namespace morvane;
using namespace morvane::fuzzing;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    static_cast<void>(FuzzMachine::instance());
    const auto line = generateDictionaryForPortListLine(data.ConsumeRandomLengthString(120));
    if (line) require(MVString::isValidUtf8(line->name) && line->path.ends_with("/"));
    const auto entry = NSGameData::initWithDescription(line.value_or(CatalogueLine{.id = 7, .name = "Game"}),
                                                       data.ConsumeRemainingBytesAsString());
    for (const double rating : entry->ratings.all()) require(!std::isnan(rating));
    const std::string page = entry->trailerHTMLwithSize(320, 240);
    // A link cannot leave its attribute.
    require(!MVString::contains(MVString::lowercased(page), "\"javascript:"));
    static_cast<void>(stillPictureOfLink(entry->trailer.value_or("")));
    return 0;
}
