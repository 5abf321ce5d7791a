#include "library/game_ratings.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "foundation/text.h"
#include "library/catalogue_addresses.h"
#include "platform/host.h"

namespace morvane {

namespace {

/// The number at the start of the text; 0 for none, and for one that is not finite.
double leadingNumber(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" +");
    if (start == std::string_view::npos) return 0;
    double number = 0;
    std::from_chars(text.data() + start, text.data() + text.size(), number);
    return std::isfinite(number) ? number : 0;
}

}  // namespace

double GameRatings::rating(std::optional<double> Ratings::*family) {
    const auto known = [&] {
        const MutexLock guard(mutex_);
        return ratings_.*family;
    };
    if (const auto value = known()) return *value;
    loadRankingIndicatorValues();
    return known().value_or(0);
}

double GameRatings::atiAmdRankingIndicator() {
    return rating(&Ratings::atiAmd);
}

double GameRatings::nvidiaRankingIndicator() {
    return rating(&Ratings::nvidia);
}

double GameRatings::intelIrisRankingIndicator() {
    return rating(&Ratings::intelIris);
}

double GameRatings::intelHdRankingIndicator() {
    return rating(&Ratings::intelHd);
}

void GameRatings::loadRankingIndicatorValues() {
    if (gameID_ == 0) return clear();
    const auto answer =
        catalogue::answerOf(host().sites.catalogue + "ckis/portRating.php?game=" + std::to_string(gameID_));
    setRatingsWithString(answer && MVString::isValidUtf8(*answer) ? *answer : "");
}

void GameRatings::clear() {
    const MutexLock guard(mutex_);
    ratings_ = {.atiAmd = 0, .nvidia = 0, .intelIris = 0, .intelHd = 0};
}

std::array<double, 4> GameRatings::all() {
    const auto known = [this] {
        const MutexLock guard(mutex_);
        return std::array{ratings_.atiAmd, ratings_.nvidia, ratings_.intelIris, ratings_.intelHd};
    };
    auto values = known();
    if (!std::ranges::all_of(values, [](const auto& value) { return value.has_value(); })) {
        loadRankingIndicatorValues();
        values = known();
    }
    std::array<double, 4> stars{};
    std::ranges::transform(values, stars.begin(), [](const auto& value) { return value.value_or(0); });
    return stars;
}

void GameRatings::setRatingsWithString(std::string_view ratings) {
    const MutexLock guard(mutex_);
    for (const std::string& piece : MVString::split(ratings, ", ")) {
        const std::vector<std::string> parts = MVString::split(piece, ":");
        if (parts.size() < 2) continue;
        const double value = leadingNumber(parts[1]);
        if (parts[0] == "ATi/AMD") ratings_.atiAmd = value;
        if (parts[0] == "NVIDIA") ratings_.nvidia = value;
        if (parts[0] == "Intel Iris") ratings_.intelIris = value;
        if (parts[0] == "Intel HD") ratings_.intelHd = value;
    }
}

}  // namespace morvane
