#include "support/windows_file.h"

namespace morvane::testing {
namespace {

std::string littleEndian(std::uint32_t value, int size) {
    std::string bytes;
    for (int index = 0; index < size; ++index) bytes += static_cast<char>(value >> (8 * index));
    return bytes;
}

}  // namespace

std::string windowsFile(std::uint16_t machine, bool wide, Managed managed) {
    std::string bytes = "MZ" + std::string(58, '\0') + littleEndian(0x80, 4);
    bytes.resize(0x80);
    bytes += std::string("PE\0\0", 4) + littleEndian(machine, 2) + std::string(18, '\0');
    std::string optional = littleEndian(wide ? 0x20b : 0x10b, 2);
    optional.resize(wide ? 108 : 92);
    optional += littleEndian(16, 4) + std::string(14 * 8, '\0') +
                littleEndian(managed == Managed::yes ? 0x2008 : 0, 4);
    optional.resize((wide ? 112 : 96) + 16 * 8);
    return bytes + optional;
}

}  // namespace morvane::testing
