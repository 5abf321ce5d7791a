// building/replaced_item.h: what lies where a new wrapper goes, and was chosen to be replaced. Only under the
// lock of the support folder: in that place, another installation may be building.
#pragma once

#include <string>

namespace morvane::building {

/// It steps aside, and is lost only once the new one is there; otherwise the end puts it back.
class ReplacedItem {
  public:
    explicit ReplacedItem(const std::string& place);
    ~ReplacedItem();
    ReplacedItem(const ReplacedItem&) = delete;
    ReplacedItem& operator=(const ReplacedItem&) = delete;

    /// False when it stays where it is, which the user is told. Where nothing lies, there is nothing to do.
    [[nodiscard]] bool stepAside();
    void discard();

  private:
    const std::string place_, aside_;
    bool isAside_ = false;
};

}  // namespace morvane::building
