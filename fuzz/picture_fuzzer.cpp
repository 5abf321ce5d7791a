// Sizes of pictures that claim anything, and icon files, which have a reader of their own.
#include "fuzz/fuzz_machine.h"
#include "fuzz/fuzzing.h"
#include "platform/pictures.h"

using namespace morvane;
using namespace morvane::fuzzing;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static_cast<void>(FuzzMachine::instance());
    const std::string_view bytes = textOf(data, size);
    const std::string_view kind = pictures::kindOf(bytes);
    const auto claimed = pictures::sizeOf(bytes);
    require(!claimed || (claimed->width > 0 && claimed->height > 0));
    const bool isSmall = claimed && claimed->width <= 128 && claimed->height <= 128;
    if (!isSmall || (kind != "ICNS" && kind != "ICO")) return 0;
    const auto picture = pictures::decode(bytes);
    if (!picture) return 0;
    require(picture->rgba.size() == static_cast<std::size_t>(picture->width) * picture->height * 4);
    const Picture scaled = pictures::scaledToWidth(*picture, 16);
    require(scaled.rgba.size() == static_cast<std::size_t>(scaled.width) * scaled.height * 4);
    return 0;
}
