// platform/free_room.h: what a file that is being filled leaves of the disk. One thread at a time.
#pragma once

#include <cstdint>
#include <optional>

namespace morvane::files {

/// A file of a known length may take all that is free; one of an unknown length leaves so many bytes, or a
/// tenth of what was free at its beginning where that is less.
class FreeRoom {
  public:
    static constexpr std::uint64_t reserve = std::uint64_t{256} << 20;

    /// An open folder of the file system; `missing` is what is still to come, in bytes.
    FreeRoom(int folder, std::optional<std::uint64_t> missing);
    /// Whether what is still to come can be taken at all.
    [[nodiscard]] bool fits() const { return fits_; }
    /// Whether more may be taken; looks at the disk now and then only. `written` is the file's size.
    [[nodiscard]] bool isLeft(int folder, std::uint64_t written);

  private:
    bool fits_ = true;
    std::uint64_t floor_ = 0;  ///< so much is to stay free
    std::uint64_t nextLook_ = 0;
};

}  // namespace morvane::files
