// Archives read and written, beside binary property lists of the same tree in the same run: libplist is the
// well-known reader of the nearest format. Each benchmark's bytes per second are those of its own format.
#include <benchmark/benchmark.h>
#include <plist/plist.h>

#include <memory>
#include <string>

#include "platform/property_list.h"
#include "platform/value.h"
#include "ports/typed_stream.h"

namespace morvane {
namespace {

/// A port with many programs: what a CKI holds, but for its pictures.
Dictionary portOf(std::int64_t programs) {
    Array exes, overrides;
    for (std::int64_t i = 0; i < programs; ++i) {
        const std::string number = std::to_string(i);
        exes.push_back(Dictionary{{"name", "Program " + number},
                                  {"main", i == 0 ? "X" : ""},
                                  {"path", "C:/Program Files/Some Game/program" + number + ".exe"},
                                  {"automatic", true},
                                  {"virtualdesktop", i},
                                  {"resolution", "1024x768"},
                                  {"version", "1.0"}});
        overrides.push_back("[Software\\\\Wine\\\\AppDefaults\\\\program" + number +
                            ".exe]\n\"Version\"=\"winxp\"");
    }
    return Dictionary{{"CKI Version", "1.6.1"},
                      {"Engine", "CK9Wine3.0"},
                      {"EXEs", std::move(exes)},
                      {"Overrides", std::move(overrides)}};
}

/// The same with a picture of 3 MB for each program.
Dictionary picturePortOf(std::int64_t pictures) {
    constexpr std::size_t length = 3'000'000;
    Array list;
    for (std::int64_t i = 0; i < pictures; ++i)
        list.push_back(
            ImageData{std::string("II*\0", 4) + std::string(length, static_cast<char>(i)), 64, 64});
    Dictionary port = portOf(pictures);
    port.set("Pictures", std::move(list));
    return port;
}

plist_t nodeOf(const Value& value) {
    if (const auto* text = value.as<std::string>()) return plist_new_string(text->c_str());
    if (const auto* integer = value.as<std::int64_t>())
        return plist_new_uint(static_cast<std::uint64_t>(*integer));
    if (const auto* flag = value.as<bool>()) return plist_new_bool(*flag ? 1 : 0);
    if (const auto* list = value.as<Array>()) {
        plist_t array = plist_new_array();
        for (const Value& element : *list) plist_array_append_item(array, nodeOf(element));
        return array;
    }
    plist_t dictionary = plist_new_dict();
    for (const auto& [key, element] : *value.as<Dictionary>()) {
        plist_dict_set_item(dictionary, key.c_str(), nodeOf(element));
    }
    return dictionary;
}

struct Released {
    void operator()(char* text) const { plist_to_bin_free(text); }
};
std::string binaryPlistOf(plist_t node) {
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(node, &bytes, &length);
    const std::unique_ptr<char, Released> owner(bytes);
    return {bytes, length};
}

void count(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.counters["bytes"] = static_cast<double>(bytes);
}

void readArchive(benchmark::State& state) {
    const auto bytes = *typed_stream::archive(portOf(state.range(0)));
    for (auto round : state) benchmark::DoNotOptimize(typed_stream::unarchive(bytes));
    count(state, bytes.size());
}

void readPictures(benchmark::State& state) {
    const auto bytes = *typed_stream::archive(picturePortOf(state.range(0)));
    for (auto round : state) benchmark::DoNotOptimize(typed_stream::unarchive(bytes));
    count(state, bytes.size());
}

/// What reading pictures cannot be faster than.
void copyPictures(benchmark::State& state) {
    const auto bytes = *typed_stream::archive(picturePortOf(state.range(0)));
    for (auto round : state) {
        std::string copy = bytes;
        benchmark::DoNotOptimize(copy);
    }
    count(state, bytes.size());
}

/// The same bytes as `readBinaryPlist`, by our own reader.
void readBinaryPlistOurselves(benchmark::State& state) {
    plist_t node = nodeOf(portOf(state.range(0)));
    const std::string bytes = binaryPlistOf(node);
    plist_free(node);
    for (auto round : state) benchmark::DoNotOptimize(property_lists::parse(bytes));
    count(state, bytes.size());
}

void readBinaryPlist(benchmark::State& state) {
    plist_t node = nodeOf(portOf(state.range(0)));
    const std::string bytes = binaryPlistOf(node);
    plist_free(node);
    for (auto round : state) {
        plist_t read = nullptr;
        plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &read);
        benchmark::DoNotOptimize(read);
        plist_free(read);
    }
    count(state, bytes.size());
}

void writeArchive(benchmark::State& state) {
    const Value port = portOf(state.range(0));
    std::size_t length = 0;
    for (auto round : state) {
        const auto bytes = typed_stream::archive(port);
        length = bytes->size();
    }
    count(state, length);
}

void writeBinaryPlist(benchmark::State& state) {
    plist_t node = nodeOf(portOf(state.range(0)));
    std::size_t length = 0;
    for (auto round : state) length = binaryPlistOf(node).size();
    plist_free(node);
    count(state, length);
}

BENCHMARK(readArchive)->Arg(10)->Arg(240)->Arg(10'000)->Arg(36'000)->Arg(360'000);
BENCHMARK(readPictures)->Arg(10);
BENCHMARK(copyPictures)->Arg(10);
BENCHMARK(readBinaryPlistOurselves)->Arg(10)->Arg(10'000);
BENCHMARK(readBinaryPlist)->Arg(10)->Arg(10'000);
BENCHMARK(writeArchive)->Arg(10)->Arg(240)->Arg(10'000)->Arg(36'000);
BENCHMARK(writeBinaryPlist)->Arg(10)->Arg(10'000);

}  // namespace
}  // namespace morvane
