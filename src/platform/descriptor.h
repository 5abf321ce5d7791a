// platform/descriptor.h: a file descriptor that closes itself. For the sources of this folder.
#pragma once

#include <unistd.h>

#include <string>
#include <string_view>
#include <utility>

namespace morvane {

class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            reset();
            number_ = std::exchange(other.number_, -1);
        }
        return *this;
    }
    ~Descriptor() { reset(); }

    [[nodiscard]] int get() const { return number_; }
    [[nodiscard]] bool valid() const { return number_ >= 0; }
    [[nodiscard]] int release() { return std::exchange(number_, -1); }
    void reset() {
        if (number_ >= 0) ::close(number_);
        number_ = -1;
    }

  private:
    int number_ = -1;
};

/// False, with `errno` set, when not all of the bytes could be written.
[[nodiscard]] bool writeAll(int descriptor, std::string_view bytes);
/// 16 hexadecimal digits that nobody has used for a name yet.
[[nodiscard]] std::string randomDigits();

}  // namespace morvane
