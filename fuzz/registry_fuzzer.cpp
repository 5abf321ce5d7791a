// Edits of a registry file against a table of what it has to hold; and edits of any file at all.
#include <map>

#include "fuzz/fuzz_machine.h"
#include "fuzz/fuzzing.h"
#include "wrapper/registry.h"

using namespace morvane;
using namespace morvane::fuzzing;

namespace {

constexpr const char* headers[] = {R"([Software\\\\Wine])", R"([Software\\\\Wine\\\\Drivers])",
                                   R"([Control Panel])"};
constexpr const char* names[] = {"a", "Graphics", "\\\\other"};
const std::string foreign = "[Foreign\\\\Key] 1600000000\n\"a\"=\"theirs\"\n\"b\"=dword:00000001\n\n";

void editAnyFile(FuzzedDataProvider& data, const std::string& wrapper) {
    FuzzMachine::instance().put(NSUtilities::getPathForRegistryFile("system", wrapper),
                                data.ConsumeRandomLengthString(400));
    const std::string header = data.ConsumeBool() ? headers[0] : data.ConsumeRandomLengthString(20);
    static_cast<void>(NSUtilities::getRegistriesWithGramar(header + "*", "system", wrapper));
    NSUtilities::replaceRegistryStrings(header, {{data.ConsumeRandomLengthString(10), "text"}}, "system",
                                        wrapper);
    NSUtilities::deleteRegistry(header, "system", wrapper);
    if (header.starts_with("[Soft")) require(NSUtilities::getRegistry(header, "system", wrapper).empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    const std::string wrapper = FuzzMachine::instance().wrapper();
    FuzzMachine::instance().put(NSUtilities::getPathForRegistryFile("user", wrapper),
                                "WINE REGISTRY Version 2\n\n" + foreign);
    std::map<std::string, std::map<std::string, std::string>> expected;
    for (int left = data.ConsumeIntegralInRange(0, 12); left > 0; --left) {
        const std::string header = data.PickValueInArray(headers), name = data.PickValueInArray(names);
        if (data.ConsumeIntegralInRange(0, 3) == 0) {
            NSUtilities::deleteRegistry(header, "user", wrapper);
            expected.erase(header);
        } else {
            const std::string text = plainText(data, 30);
            NSUtilities::replaceRegistryStrings(header, {{name, text}}, "user", wrapper);
            expected[header][name] = text;
        }
        for (const char* key : headers) {
            const std::string lines = NSUtilities::getRegistry(key, "user", wrapper);
            for (const char* value : names) {
                require(NSUtilities::getStringValueForKey(value, lines) == expected[key][value]);
            }
        }
        const auto file = files::read(NSUtilities::getPathForRegistryFile("user", wrapper));
        require(file && file->find(foreign.substr(0, foreign.size() - 1)) != std::string::npos);
    }
    editAnyFile(data, wrapper);
    return 0;
}
