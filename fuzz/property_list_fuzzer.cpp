// What is read as a property list is written as one that reads the same.
#include "fuzz/fuzzing.h"
#include "platform/property_list.h"

using namespace morvane;
using namespace morvane::fuzzing;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto value = property_lists::parse(textOf(data, size));
    if (!value) return 0;
    const std::string written = property_lists::xml(*value);
    const auto again = property_lists::parse(written);
    require(again.has_value());
    // From here on: what XML has no characters for has been replaced, and keys that differ in those alone are one.
    // Not the values: a real may be no number, which equals nothing.
    const std::string settled = property_lists::xml(*again);
    const auto last = property_lists::parse(settled);
    require(last && property_lists::xml(*last) == settled);
    return 0;
}
