// platform/descriptor.h: a file descriptor that closes itself. For the sources of this folder.
#pragma once

#include <unistd.h>

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

}  // namespace morvane
