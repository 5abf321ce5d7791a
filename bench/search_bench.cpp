// The search field of the library with 50,000 names: each key of some words that are typed.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "foundation/text.h"

namespace morvane {
namespace {

std::vector<MVString::SearchedName> names() {
    static constexpr const char* words[] = {"Star",  "Catcher", "Half", "Life",  "of",    "the",
                                            "Quest", "Dragon",  "II",   "Tower", "Night", "Land"};
    std::vector<MVString::SearchedName> names;
    for (std::size_t number = 0; number < 50'000; ++number) {
        std::string name;
        for (std::size_t word = 0, rest = number * 7919; word < 4; ++word, rest /= 12)
            name.append(words[rest % 12]).append(" ");
        names.emplace_back(name + std::to_string(number));
    }
    return names;
}

void typedKey(benchmark::State& state) {
    const auto all = names();
    const std::string typed = std::string("half life 2").substr(0, static_cast<std::size_t>(state.range(0)));
    std::size_t found = 0;
    for (auto round : state) {
        const MVString::NameSearch search(typed);
        for (const auto& name : all) found += search.matches(name) ? 1 : 0;
    }
    benchmark::DoNotOptimize(found);
}

void preparedOnce(benchmark::State& state) {
    for (auto round : state) benchmark::DoNotOptimize(names());
}

BENCHMARK(typedKey)->DenseRange(1, 11)->Unit(benchmark::kMillisecond);
BENCHMARK(preparedOnce)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace morvane
