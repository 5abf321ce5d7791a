// Runs a target without a fuzzer: every seed in the folder, then changes of them for a second (or so many as
// MORVANE_FUZZ_SECONDS says), the same ones in the same order each time.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "platform/files.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Random = std::mt19937;

std::size_t below(Random& random, std::size_t limit) {
    return limit == 0 ? 0 : random() % limit;
}

/// One of: a byte changed, a stretch gone, doubled, or taken from another input, random bytes added.
void change(std::string& input, const std::string& other, Random& random) {
    const std::size_t at = below(random, input.size() + 1);
    const std::size_t length = below(random, std::size_t{1} << below(random, 8));
    switch (random() % 5) {
        case 0:
            if (at < input.size()) input[at] = static_cast<char>(random());
            break;
        case 1:
            input.erase(at, length);
            break;
        case 2:
            input.insert(at, input.substr(at, length));
            break;
        case 3:
            input.insert(at, other.substr(below(random, other.size() + 1), length));
            break;
        default:
            for (std::size_t count = 0; count < length; ++count) {
                input.insert(input.begin() + static_cast<std::ptrdiff_t>(at), static_cast<char>(random()));
            }
    }
    constexpr std::size_t longest = 4096;
    if (input.size() > longest) input.resize(longest);
}

void run(const std::string& input) {
    // A copy of its own, so that a sanitizer sees reads beyond the end.
    const std::vector<std::uint8_t> bytes(input.begin(), input.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> seeds{""};
    const std::string folder = argc > 1 ? argv[1] : "";
    const auto names = morvane::files::list(folder);
    if (names) {
        for (const std::string& name : *names) {
            seeds.push_back(morvane::files::read(morvane::files::join(folder, name)).value_or(""));
        }
    }
    for (const std::string& seed : seeds) run(seed);
    const char* seconds = std::getenv("MORVANE_FUZZ_SECONDS");
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::seconds(seconds != nullptr ? std::atoi(seconds) : 1);
    Random random(1);
    std::vector<std::string> inputs = seeds;
    std::size_t count = seeds.size();
    for (; std::chrono::steady_clock::now() < end; ++count) {
        std::string& input = inputs[below(random, inputs.size())];
        // Back to the seed at times: what has been changed too often is nothing any more.
        if (random() % 16 == 0) input = seeds[static_cast<std::size_t>(&input - inputs.data())];
        change(input, inputs[below(random, inputs.size())], random);
        run(input);
    }
    std::printf("%zu inputs\n", count);
    return 0;
}
