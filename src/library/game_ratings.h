// library/game_ratings.h: how well a game of the catalogue runs on the families of graphics cards. Any thread; what is not
// known yet is asked for, which blocks on the network.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/annotations.h"

namespace morvane {

class GameRatings {
  public:
    /// The ID outlives the ratings. 0: there are none, which reads as 0.
    explicit GameRatings(const std::int64_t& gameID) : gameID_(gameID) {}

    /// Stars; 0 while they are not known.
    [[nodiscard]] double atiAmdRankingIndicator();
    [[nodiscard]] double nvidiaRankingIndicator();
    [[nodiscard]] double intelIrisRankingIndicator();
    [[nodiscard]] double intelHdRankingIndicator();
    /// All four of them, in that order, with one request at most.
    [[nodiscard]] std::array<double, 4> all();
    void loadRankingIndicatorValues();
    /// There are none.
    void clear();
    /// "ATi/AMD:4.5, NVIDIA:3": what it does not name stays.
    void setRatingsWithString(std::string_view ratings);

  private:
    struct Ratings {
        std::optional<double> atiAmd, nvidia, intelIris, intelHd;
    };
    [[nodiscard]] double rating(std::optional<double> Ratings::*family);

    const std::int64_t& gameID_;
    Mutex mutex_;
    Ratings ratings_ MV_GUARDED_BY(mutex_);
};

}  // namespace morvane
