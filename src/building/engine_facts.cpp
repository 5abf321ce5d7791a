#include "building/engine_facts.h"

#include <filesystem>

#include "building/engine_extraction.h"
#include "building/engine_store.h"
#include "foundation/file_manager.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/property_list.h"
#include "wrapper/layout.h"
#include "wrapper/program_header.h"
#include "wrapper/wrapper.h"

namespace morvane::building {

namespace {

constexpr const char* runs32 = "Runs 32 Bits";
constexpr const char* runs64 = "Runs 64 Bits";
constexpr const char* stampName = "Stamp";

/// Hidden: every other name in the store that begins as an engine's is one.
std::string knownFile() {
    return files::join(layout::enginesFolder(), ".facts.plist");
}

Dictionary knownFacts() {
    const auto stored = property_lists::read(knownFile());
    const auto* known = stored ? stored->as<Dictionary>() : nullptr;
    return known != nullptr ? *known : Dictionary();
}

/// Another archive has another one.
std::string stampOf(const std::string& archive, std::uint64_t bytes) {
    std::error_code failed;
    const auto changed = std::filesystem::last_write_time(archive, failed).time_since_epoch().count();
    return std::to_string(bytes) + "," + std::to_string(failed ? 0 : changed);
}

bool isThinEngine(const std::string& bundle) {
    for (const char* folder : {"/lib", "/lib64"}) {
        const auto names = files::list(bundle + folder);
        if (names && !names->empty()) return false;
    }
    return true;
}

void remember(const std::string& name, const EngineFacts& facts, const std::string& stamp) {
    Dictionary known = knownFacts();
    known.set(name, Dictionary{{runs32, facts.runs32}, {runs64, facts.runs64}, {stampName, stamp}});
    // A store that cannot be written is looked into again.
    static_cast<void>(property_lists::write(knownFile(), known));
}

}  // namespace

std::optional<EngineFacts> factsOf(const std::string& engine) {
    const auto archive = storedEngineArchive(engine);
    if (!archive) return std::nullopt;
    EngineFacts facts;
    facts.bytes = files::size(files::resolved(*archive).value_or(*archive)).value_or(0);
    const std::string name = files::lastComponent(*archive), stamp = stampOf(*archive, facts.bytes);
    const Dictionary known = knownFacts();
    const auto* one = known.get<Dictionary>(name);
    const auto* oldStamp = one != nullptr ? one->get<std::string>(stampName) : nullptr;
    if (oldStamp != nullptr && *oldStamp == stamp) {
        const auto isSet = [&](const char* key) {
            const bool* flag = one->get<bool>(key);
            return flag != nullptr && *flag;
        };
        facts.runs32 = isSet(runs32);
        facts.runs64 = isSet(runs64);
        return facts;
    }
    const bool isEngine = lookIntoStoredEngine(engine, [&](const std::string& bundle) {
        facts.runs32 = engineRuns(bundle, Machine::x86);
        facts.runs64 = engineRuns(bundle, Machine::x64);
        facts.isThin = isThinEngine(bundle);
    });
    if (!isEngine) return std::nullopt;
    if (!facts.isThin) remember(name, facts, stamp);
    return facts;
}

std::vector<std::string> wrappersWith(const std::string& engine, const std::vector<std::string>& wrappers) {
    std::vector<std::string> users;
    for (const std::string& wrapper : wrappers) {
        if (getCaskeryWrapperEngineFromPath(Wrapper(wrapper)) == engine) users.push_back(wrapper);
    }
    return users;
}

bool removeFromStore(const std::string& engine) {
    bool isGone = true;
    for (const std::string& archive : storedArchivesOf(engine))
        isGone &= MVFileManager::removeItemAtPath(archive);
    return isGone;
}

}  // namespace morvane::building
