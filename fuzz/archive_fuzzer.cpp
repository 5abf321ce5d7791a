// Reads anything as an archive; what can be read is made a port of, written, and must come back equal.
#include "fuzz/fuzzing.h"
#include "ports/port_data.h"
#include "ports/typed_stream.h"

using namespace morvane;
using namespace morvane::fuzzing;

namespace {

bool holdsPictureOrStyle(const Value& value) {
    if (value.as<ImageData>() != nullptr || value.as<StyledText>() != nullptr) return true;
    if (const auto* list = value.as<Array>()) {
        for (const Value& element : *list) {
            if (holdsPictureOrStyle(element)) return true;
        }
    }
    if (const auto* dictionary = value.as<Dictionary>()) {
        for (const auto& [key, element] : *dictionary) {
            if (holdsPictureOrStyle(element)) return true;
        }
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = textOf(data, size);
    static_cast<void>(typed_stream::describe(bytes));
    const auto read = typed_stream::unarchive(bytes);
    if (!read) return 0;
    const Value& root = *read;
    if (const auto* cki = root.as<Dictionary>()) {
        static_cast<void>(NSPortData::initWithDictionary(*cki, "/game (steam).cki"));
    }
    // Pictures are decoded by a library of its own, and converted; a style may get another font.
    if (holdsPictureOrStyle(root)) return 0;
    for (const auto order : {typed_stream::ByteOrder::little, typed_stream::ByteOrder::big}) {
        const auto written = typed_stream::archive(root, order);
        require(written.has_value());
        const auto again = typed_stream::unarchive(*written);
        require(again.has_value());
        // Not the values: a real may be no number, which equals nothing.
        const auto rewritten = typed_stream::archive(*again, order);
        require(*rewritten == *written);
    }
    return 0;
}
