// The small programs beside the application, run as the application runs them.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <regex>
#include <thread>

#include "platform/cancellation.h"
#include "platform/files.h"
#include "platform/process.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using testing::TemporaryFolder;

const std::string resources = MORVANE_BUILD_FOLDER "/share/morvane";
const std::string ownPrograms = resources + "/programs";

class OwnPrograms : public ::testing::Test {
  public:
    TemporaryFolder folder;

    [[nodiscard]] std::string at(const std::string& name) const { return files::join(folder.path, name); }
    [[nodiscard]] std::string put(const std::string& name, const std::string& bytes,
                                  unsigned mode = 0644) const {
        EXPECT_TRUE(files::createFolder(files::parent(at(name)), true));
        EXPECT_TRUE(files::write(at(name), bytes, files::Atomically::no));
        EXPECT_TRUE(files::setPermissions(at(name), mode));
        return at(name);
    }
    [[nodiscard]] std::string signalPipe(const std::string& name) const {
        EXPECT_EQ(::mkfifo(at(name).c_str(), 0600), 0);
        return at(name);
    }

    /// With the system's files below `<folder>/system`, and the programs of `<folder>/bin` before the
    /// machine's.
    [[nodiscard]] ProcessResult run(const std::string& program,
                                    const std::vector<std::string>& arguments) const {
        const auto result = processes::run({.program = program,
                                            .arguments = arguments,
                                            .environment = {{{"PATH", at("bin") + ":/usr/bin:/bin"},
                                                             {"HOME", at("home")},
                                                             {"XDG_RUNTIME_DIR", folder.path},
                                                             {"MORVANE_SYSTEM_ROOT", at("system/")}}}});
        EXPECT_TRUE(result) << program << " is not there: build everything before the tests";
        return result.value_or(ProcessResult{"", {.exitStatus = -1}});
    }
};

std::string firstLine(const std::string& path) {
    std::string line;
    std::ifstream stream(path);
    std::getline(stream, line);
    return line;
}

/// A program that runs until the end of the test.
class Running {
  public:
    Running(const std::string& program, const std::string& ready, const std::string& prefix) {
        EXPECT_TRUE(cancellation_.begin());
        thread_ = std::thread([this, program, ready, prefix] {
            try {
                static_cast<void>(processes::run({.program = program,
                                                  .arguments = {ready, "/Games/Named.app"},
                                                  .environment = {{{"A", "1"}, {"WINEPREFIX", prefix}}},
                                                  .cancellation = &cancellation_}));
            } catch (const Cancelled&) {
            }
        });
        number = firstLine(ready);
    }
    ~Running() {
        cancellation_.request();
        thread_.join();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    std::string number;

  private:
    Cancellation cancellation_;
    std::thread thread_;
};

std::optional<std::string> lineOf(const std::string& listing, const std::string& number) {
    std::istringstream lines(listing);
    for (std::string line; std::getline(lines, line);) {
        if (line.substr(std::min(line.find_first_not_of(' '), line.size())).starts_with(number + " "))
            return line;
    }
    return std::nullopt;
}

TEST_F(OwnPrograms, PsAddsTheWrapper) {
    const std::string script = "#!/bin/sh\necho $$ > \"$1\"; while :; do read line < \"$1\"; done\n";
    const std::string game = put("game", script, 0755);
    const std::string killer = put("bin/killall", script, 0755);
    const Running inWrapper(game, signalPipe("1"), "/Games/My Game.app/Contents/Resources");
    const Running named(game, signalPipe("2"), "/Games/Named.app/Contents/Resources/deeper");
    const Running elsewhere(game, signalPipe("3"), "/home/me/.wine");
    const Running alike(game, signalPipe("4"), "/Games/Alike.app/Contents/ResourcesOfMine");
    const Running forger(game, signalPipe("5"), "/Games/\n    1 ?  Forged.app/Contents/Resources");
    const Running stopping(killer, signalPipe("6"), "/Games/My Game.app/Contents/Resources");

    const std::string listing = run(ownPrograms + "/ps", {"ax"}).output;
    EXPECT_EQ(listing.substr(0, listing.find('\n')).find_first_not_of(' '), listing.find("PID"));
    const auto ending = [&](const Running& program) {
        return lineOf(listing, program.number).value_or("(no line)");
    };
    EXPECT_TRUE(ending(inWrapper).ends_with("/1 /Games/Named.app /Games/My Game.app")) << ending(inWrapper);
    for (const Running* other : {&named, &elsewhere, &alike, &forger}) {  // the first has it there already
        EXPECT_TRUE(ending(*other).ends_with(" /Games/Named.app")) << ending(*other);
        EXPECT_FALSE(ending(*other).ends_with(" /Games/Named.app /Games/Named.app")) << ending(*other);
    }
    EXPECT_EQ(listing.find("Forged"), std::string::npos);
    // Nobody who asks or stops may be stopped for having the path on the command line.
    EXPECT_EQ(lineOf(listing, stopping.number), std::nullopt);
    EXPECT_EQ(lineOf(listing, std::to_string(::getpid())), std::nullopt);
    EXPECT_EQ(lineOf(listing, "1"), std::nullopt);
    // Other tests run the other programs at the same time.
    EXPECT_EQ(listing.find(ownPrograms + "/ps"), std::string::npos);
}

/// The list of the disc images below the system folder, without sizes.
class DiscPrograms : public OwnPrograms {
  public:
    DiscPrograms() { static_cast<void>(put("windows/setup.exe", "MZ")); }
    void insert(const std::string& name, std::uintmax_t size) const {
        static_cast<void>(put("system/sys/block/" + name + "/size", std::to_string(size / 512) + "\n"));
        static_cast<void>(put("system/dev/.keep", ""));
    }
    void make(const std::string& name, const std::string& program, std::vector<std::string> options) const {
        insert(name, 1 << 20);
        options.insert(options.end(), {"-o", at("system/dev/" + name), at("windows")});
        ASSERT_EQ(run(program, options).ending.exitStatus, 0) << program;
    }
    [[nodiscard]] std::string list() const {
        const std::string output = run(ownPrograms + "/diskutil", {"list"}).output;
        return std::regex_replace(output, std::regex("([ *])\\d+\\.\\d [KM]?B +"), "$1|");
    }
};

constexpr const char* headings =
    "   #:                       TYPE NAME                    SIZE       IDENTIFIER\n";

TEST_F(DiscPrograms, DiskutilReadsTheMapsOfHybridDiscs) {
    EXPECT_EQ(list(), "");
    make("sr0", "/usr/bin/genisoimage", {"-quiet", "-hfs", "-part", "-V", "WIN", "-hfs-volid", "My Game"});
    make("sr1", "/usr/bin/xorriso",
         {"-as", "mkisofs", "-quiet", "-apm-block-size", "2048", "-hfsplus", "-V", "SPIEL"});
    make("sr2", "/usr/bin/genisoimage", {"-quiet", "-V", "PLAIN"});
    insert("sr3", 0);  // an empty drive
    const std::string blanks(23, ' ');
    EXPECT_EQ(list(), "/dev/sr0 (external, physical):\n" + std::string(headings) +
                          "   0:     Apple_partition_scheme " + blanks + "*|sr0\n" +
                          "   1:        Apple_partition_map " + blanks + " |sr0p1\n" +
                          "   2:                  Apple_HFS My Game                 |sr0p2\n\n" +
                          "/dev/sr1 (external, physical):\n" + headings +
                          "   0:     Apple_partition_scheme " + blanks + "*|sr1\n" +
                          "   1:        Apple_partition_map " + blanks + " |sr1p1\n" +
                          "   2:               ISO9660_data " + blanks + " |sr1p2\n" +
                          "   3:                  Apple_HFS SPIEL                   |sr1p3\n" +
                          "   4:               ISO9660_data " + blanks + " |sr1p4\n\n" +
                          "/dev/sr2 (external, physical):\n" + headings +
                          "   0:                            PLAIN                  *|sr2\n\n");
}

TEST_F(DiscPrograms, DiskutilSurvivesAHostileMap) {
    using namespace std::string_literals;
    std::string disc(4096, '\0');
    disc.replace(0, 4, "ER\2\0"s);
    const auto entry = [&](std::size_t place, const std::string& start, const std::string& name,
                           const std::string& type) {
        disc.replace(place, 16, "PM\0\0\xFF\xFF\xFF\xFF"s + start + "\xFF\xFF\xFF\xFF"s);
        disc.replace(place + 16, name.size(), name);
        disc.replace(place + 48, type.size(), type);
    };
    entry(512, "\xFF\xFF\xFF\xFF",
          "a\n/dev/sr9\x8E\x8E\x8E\x8E\x8E\x8E\x8E\x8E\x8E\x8E\x8E\x8E\x8E\x8E\x8E\x8E",
          "Apple_HFS\nand far more than fits");
    entry(1024, "\0\0\0\3"s, "fallback", "Apple_HFS");
    disc.replace(1536 + 1024, 2, "H+");
    disc.replace(1536 + 1024 + 40, 4, "\xFF\xFF\xFF\xFF");
    disc.replace(1536 + 1024 + 288, 4, "\xFF\xFF\xFF\xFF");
    insert("sr0", disc.size());
    static_cast<void>(put("system/dev/sr0", disc));
    std::istringstream lines(list());
    std::vector<std::string> found;
    for (std::string line; std::getline(lines, line);) found.push_back(line);
    ASSERT_EQ(found.size(), 6U);
    EXPECT_TRUE(found[3].starts_with("   1:Apple_HFS and far more than a /dev/sr9\u00E9\u00E9")) << found[3];
    EXPECT_TRUE(found[3].ends_with("sr0p1")) << found[3];
    EXPECT_TRUE(found[4].starts_with("   2:                  Apple_HFS fallback ")) << found[4];
}

}  // namespace
}  // namespace morvane
