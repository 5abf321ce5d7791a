// What can be written as an archive comes back as it was.
#include "fuzz/fuzzed_values.h"
#include "ports/typed_stream.h"

using namespace morvane;
using namespace morvane::fuzzing;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    const Value root = valueFrom(
        data, [](FuzzedDataProvider& from) { return from.ConsumeRandomLengthString(8); }, 6);
    for (const auto order : {typed_stream::ByteOrder::little, typed_stream::ByteOrder::big}) {
        const auto written = typed_stream::archive(root, order);
        if (!written) continue;  // a text that is not UTF-8
        const auto read = typed_stream::unarchive(*written);
        require(root.isNull() || (read && *read == root));
        // Each shorter one is damaged.
        const auto length = data.ConsumeIntegralInRange<std::size_t>(0, written->size() - 1);
        require(!typed_stream::unarchive(std::string_view(*written).substr(0, length)));
    }
    return 0;
}
