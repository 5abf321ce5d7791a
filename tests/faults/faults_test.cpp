// The command killed before each of its changes on disk, and on a disk that is full from each of them on.
//
// What it was not asked to change stays; what it was asked to change is what it was or what it was to become; and the
// same command, run again, succeeds. A few places a command; MORVANE_FAULTS=all takes every one.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "end_to_end/command.h"
#include "foundation/text.h"
#include "platform/pictures.h"
#include "platform/property_list.h"
#include "ports/typed_stream.h"
#include "support/fake_wrapper.h"
#include "support/test_machine.h"
#include "wrapper/archive_tools.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

struct Scenario {
    std::string name;
    /// Below the home folder. What may be in any state after a fault: what the command is making.
    Words making = {};
    Words command;
    /// What a second run says where the first has done everything.
    int again = 0;
};

void PrintTo(const Scenario& scenario, std::ostream* out) {
    *out << scenario.name;
}

class Faults : public testing::TestMachine, public ::testing::WithParamInterface<Scenario> {
  protected:
    using Tree = std::map<std::string, std::string>;

    Faults() {
        start = folder.path + "/start";
        testing::publishNewestVersion(site, "Caskery-2.7");
        testing::publishMasterWrapper(
            site, {.version = "Caskery-2.7",
                   .onPrefixCreate = ": > \"$wrapper/Contents/Resources/drive_c/nothing.exe\""});
        testing::publishEngines(site, {"CK9Wine9.0"});
        command.environment = {"MORVANE_HOME=" + at, "MORVANE_CASKERY_SITE=" + site.baseAddress(),
                               "MORVANE_CATALOGUE=" + site.baseAddress(),
                               "MORVANE_VERBS_SITE=" + site.baseAddress(), "LC_ALL=C.UTF-8"};
        makeStart();
        for (std::string& word : words) word = MVString::replacedAll(word, "HOME", at);
    }

    /// The home folder in which every run begins.
    void makeStart() {
        const std::string applications = start + "/Applications/";
        for (const char* name : {"Game", "Other"})
            testing::makeFakeWrapperAt(applications + name + ".app", "CK9Wine9.0");
        put(applications + "Game.app/Contents/Resources/drive_c/save.dat", std::string(300'000, 's'));
        put(start + "/build/bin/wine", "#!/bin/sh\n[ \"$1\" = --version ] && echo 'wine-9.1'\n", true);
        put(start + "/build/bin/wineserver", "#!/bin/sh\necho 'Wine 9.1' >&2\n", true);
        put(start + "/build/lib/wine/x86_64-windows/ntdll.dll", "x");
        put(start + "/build/share/wine/wine.inf", "x");
        const std::string support = start + "/Library/Application Support/Caskery/";
        // An engine of an old layout, and a master wrapper that is not the newest any more.
        const testing::TemporaryFolder packing;
        put(packing.path + "/all/CaskeryEngine.bundle/Wine/bin/wine", "#!/bin/sh\n", true);
        put(packing.path + "/all/CaskeryEngine.bundle/Wine/lib/libwine.so", "elf");
        put(packing.path + "/all/CaskeryEngine.bundle/Wine/share/wine.inf", "[version]");
        put(packing.path + "/all/CaskeryEngine.bundle/X11/bin/X", "x");
        put(support + "Engines/CK7Wine1.2.5.tar.7z",
            testing::packedTar7z(packing.path + "/all", ".", "../CK7Wine1.2.5.tar"));
        testing::makeFakeMasterWrapper(support + "Wrapper");
        put(start + "/port.plist",
            property_lists::xml(Dictionary{{"CKI Version", "1.6.1"}, {"Company", "Ada"}}));
        put(start + "/old.cki", "old");
        put(start + "/port.cki",
            *typed_stream::archive(Value(
                Dictionary{{"CKI Version", "1.6.1"}, {"Engine", "CK9Wine9.0"}, {"Port Type", "Caskery"}})));
        put(start + "/about.html", "<p>Fun.");
        put(start + "/icon.png", pictures::encodePng({2, 2, std::vector<std::uint8_t>(16, 200)}));
        copyStart();
        for (const Words& arguments :
             {Words{"library", "list"}, Words{"settings", "set", "Description Font Size", "14"}})
            EXPECT_EQ(run(arguments, "").exitCode, 0);
        fs::remove_all(start);
        fs::copy(at, start, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }
    void copyStart() const {
        fs::remove_all(at);
        fs::copy(start, at, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }
    [[nodiscard]] testing::Command::Ended run(const Words& arguments, const std::string& fault) const {
        testing::Command with = command;
        if (!fault.empty()) {
            with.environment.push_back("MORVANE_FAULT=" + fault);
            with.environment.emplace_back("LD_PRELOAD=" MORVANE_FAULT_POINTS);
        }
        return with.run(arguments);
    }
    /// What lies in the home folder, but for logs.
    [[nodiscard]] Tree tree() const {
        Tree tree;
        for (auto entry = fs::recursive_directory_iterator(at); entry != fs::end(entry); ++entry) {
            const std::string path = entry->path().string().substr(at.size() + 1);
            if (MVString::contains(path, "Library/Logs")) continue;
            if (entry->is_symlink()) {
                tree[path] = "-> " + fs::read_symlink(entry->path()).string();
            } else {
                tree[path] = entry->is_directory() ? "folder" : get(entry->path());
            }
        }
        return tree;
    }
    [[nodiscard]] bool isMaking(const std::string& path) const {
        const auto lies = [&](const std::string& place) {
            return path == place || path.starts_with(place + "/");
        };
        return std::ranges::any_of(GetParam().making, lies);
    }
    /// Settings may be written several times by one command, and archives hold times.
    static bool isMixture(const std::string& path, const std::string& now, const std::string& before,
                          const std::string& after) {
        if (path.ends_with(".7z")) return now != "nothing" && archives::isWhole(path);
        // An entry of the menu says when its icon was written.
        if (path.ends_with(".desktop")) return MVString::contains(now, "\n# Sum: ");
        const auto dictionary = [](const std::string& state) {
            const auto value = property_lists::parse(state);
            const auto* found = value ? value->as<Dictionary>() : nullptr;
            return found != nullptr ? *found : Dictionary();
        };
        const Dictionary mixed = dictionary(now), old = dictionary(before), made = dictionary(after);
        const auto isOneOf = [&](const auto& entry) {
            // Of this copy of the home folder, and of this machine at this moment.
            if (entry.key == "App Identities" || entry.key == "Prefix Creation Time") return true;
            const Value* was = old.find(entry.key);
            const Value* becomes = made.find(entry.key);
            return (was && *was == entry.value) || (becomes && *becomes == entry.value);
        };
        // A database holds the time of a publication.
        if (path.ends_with("catalogue.db")) return now.size() == after.size();
        const auto isKept = [&](const auto& entry) {
            return mixed.contains(entry.key) || !made.contains(entry.key) ||
                   entry.key == "Prefix Creation Time";
        };
        return path.ends_with(".plist") && std::ranges::all_of(old, isKept) &&
               std::ranges::all_of(mixed, isOneOf);
    }
    /// Each file is what it was or what it was to become; nothing else is there.
    void expectOldOrNew(const Tree& before, const Tree& after, const std::string& when) const {
        const Tree now = tree();
        const auto stateOf = [](const Tree& tree, const std::string& path) {
            const auto found = tree.find(path);
            return found == tree.end() ? "nothing" : found->second;
        };
        std::map<std::string, bool> paths;
        for (const Tree* each : {&before, &after, &now})
            for (const auto& [path, state] : *each) paths[path] = true;
        for (const auto& [path, present] : paths) {
            if (isPassing(path) || (isMaking(path) && &before != &after)) continue;
            const std::string state = stateOf(now, path);
            const std::string was = stateOf(before, path), becomes = stateOf(after, path);
            EXPECT_TRUE(state == was || state == becomes || isMixture(at + "/" + path, state, was, becomes))
                << when << ": " << path << " is neither, but " << state.substr(0, 200);
        }
    }
    /// What is on its way, which the next run clears away.
    static bool isPassing(const std::string& path) {
        return std::ranges::any_of(
            Words{".morvane-", "morvane-passing", "/passing", "/.arriving", "/.unpacking", "/Prefixes"},
            [&](const std::string& mark) { return MVString::contains(path, mark); });
    }
    /// The changes at which a fault is tried.
    [[nodiscard]] std::vector<long> places(long changes) const {
        const char* wanted = std::getenv("MORVANE_FAULTS");
        const long most = wanted != nullptr && std::string(wanted) == "all" ? changes : 8;
        std::vector<long> places;
        for (long place = 0; place < std::min(most, changes); ++place)
            places.push_back(1 + place * changes / std::min(most, changes));
        return places;
    }

    const std::string at = folder.path + "/at";
    std::string start;
    Words words = GetParam().command;
    testing::LoopbackSite site;
    testing::Command command;
};

TEST_P(Faults, LeaveTheOldOrTheNew) {
    copyStart();
    const Tree before = tree();
    const auto whole = run(words, "count:" + folder.path + "/changes");
    ASSERT_EQ(whole.exitCode, 0) << whole.output;
    const Tree after = tree();
    const long changes = std::stol(get(folder.path + "/changes"));
    ASSERT_GT(changes, 0);
    RecordProperty("changes", static_cast<int>(changes));
    for (const char* fault : {"kill:", "full:"}) {
        for (const long place : places(changes)) {
            const std::string when = fault + std::to_string(place) + " of " + std::to_string(changes);
            copyStart();
            const auto struck = run(words, fault + std::to_string(place));
            expectOldOrNew(before, after, when + "\n" + struck.output);
            const auto again = run(words, "");
            const std::string then = when + ", again\n" + again.output;
            EXPECT_TRUE(again.exitCode == 0 || again.exitCode == GetParam().again) << then;
            expectOldOrNew(after, after, then);
            if (HasFailure()) return;
            if (again.exitCode != 0) continue;  // it had nothing to write any more
            for (const auto& [path, state] : tree())
                EXPECT_FALSE(MVString::contains(path, "morvane-")) << then << path;
            if (HasFailure()) return;
        }
    }
}

const std::string game = "HOME/Applications/Game.app";

INSTANTIATE_TEST_SUITE_P(
    Commands, Faults,
    ::testing::Values(
        Scenario{.name = "Settings", .command = {"settings", "set", "Description Font Size", "15"}},
        Scenario{.name = "LibraryRemoval",
                 .making = {"Applications/Game.app"},
                 .command = {"--defaults", "--answer", "Warning=Yes", "library", "remove", game, "--disk",
                             "--permanently"},
                 .again = 1},
        Scenario{.name = "Properties", .command = {"properties", game, "--version", "2", "--env", "A=B"}},
        Scenario{.name = "Rename",
                 .making = {"Applications"},
                 .command = {"properties", game, "--name", "New"},
                 .again = 1},
        Scenario{.name = "Engine", .command = {"engine", "add", "HOME/build"}, .again = 1},
        Scenario{.name = "EngineDownload", .command = {"engine", "prepare", "CK9Wine9.0"}},
        Scenario{.name = "EngineConversion",
                 .command = {"--defaults", "engine", "convert", "CK7Wine1.2.5"},
                 .again = 1},
        Scenario{.name = "Recipe", .command = {"cki", "make", "HOME/port.plist", "HOME/old.cki"}},
        Scenario{.name = "Publishing",
                 .making = {"content"},
                 .command = {"serve", "add", "HOME/content", "HOME/port.cki", "--name", "Game", "--creator",
                             "Ada", "--description", "HOME/about.html", "--icon", "HOME/icon.png"}},
        Scenario{.name = "Installation",
                 .making = {"Applications/New.app", "Library/Application Support/Caskery/Wrapper"},
                 .command = {"--defaults", "--answer", "License Agreement=I Agree", "--answer",
                             "Warning=Install it anyway", "install", "HOME/port.cki", "--to",
                             "HOME/Applications/New.app"}},
        // The master wrapper first.
        Scenario{.name = "WrapperUpdate",
                 .making = {"Applications/Game.app"},
                 .command = {"--defaults", "wrapper", "update", game}}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace morvane
