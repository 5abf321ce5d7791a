// Reads anything as the script of the Windows components: every component of it, and what that one calls.
#include "building/verb_script.h"
#include "fuzz/fuzz_machine.h"
#include "fuzz/fuzzing.h"

using namespace morvane;
using namespace morvane::fuzzing;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    static_cast<void>(FuzzMachine::instance());
    const auto request = verb_script::requestOf(data.ConsumeRandomLengthString(40), "NVIDIA");
    const std::string script = data.ConsumeRemainingBytesAsString();
    std::set<std::string> visited;
    const verb_script::Visitor visitor{
        .catalogueFile = [](const std::string&, const std::string& file) { require(!file.empty()); },
        .helper = [](const std::string&,
                     const std::string& text) { static_cast<void>(verb_script::helperDownloads(text)); },
        .component =
            [](const std::string& component, const std::string& text) {
                static_cast<void>(verb_script::manualDownload(text, component));
                static_cast<void>(verb_script::ordinaryDownloads(text, component));
            }};
    for (const std::string& component : {request.name, std::string("d3dx9"), std::string("vcrun6")}) {
        verb_script::visit(script, component, visited, visitor);
    }
    for (const int word : {1, 2, 3}) static_cast<void>(verb_script::getFromString(script, word));
    static_cast<void>(verb_script::withoutEnds(script));
    return 0;
}
