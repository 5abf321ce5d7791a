#include "runtime/brought_engine.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "building/engine_facts.h"
#include "platform/files.h"
#include "platform/process.h"
#include "support/test_machine.h"
#include "wrapper/layout.h"

namespace morvane::runtime {
namespace {

namespace fs = std::filesystem;

TEST(EngineNameFor, FollowsTheVersion) {
    const struct {
        const char *version, *name;
    } rows[] = {{"wine-9.0", "CK9Wine9.0"},
                {"wine-8.0 (Debian 8.0~repack-4)", "CK9Wine8.0"},
                {"wine-9.0-rc2", "CK9Wine9.0-rc2"},
                {"wine-9.2 (Staging)", "CK9Wine9.2Staging"},
                {"wine-8.0-GE-Proton8-26", "CK9Wine8.0GEProton826"},
                {"wine-", ""},
                {"wine-x", ""},
                {"", ""}};
    for (const auto& row : rows) EXPECT_EQ(engineNameFor(row.version).value_or(""), row.name) << row.version;
}

class BroughtEngine : public testing::TestMachine {
  protected:
    const std::string room = folder.path + "/room";
    const std::string loader = "#!/bin/sh\n[ \"$1\" = --version ] && echo 'wine-9.0 (Staging)'\n",
                      server = "#!/bin/sh\necho 'Wine 9.0' >&2\n";
    int count = 0;

    void SetUp() override { fs::create_directories(layout::enginesFolder()); }
    /// A build of Wine, as small as can be.
    void build(const std::string& top, const char* wine = "/bin/wine") const {
        put(top + wine, loader, true);
        put(top + "/bin/wineserver", server, true);
        put(top + "/lib/wine/x86_64-windows/ntdll.dll", "x");
        put(top + "/share/wine/wine.inf", "x");
    }
    void run(const std::string& program, std::vector<std::string> arguments) const {
        ProcessRequest request;
        request.program = processes::search(program, ::getenv("PATH")).at(0);
        request.arguments = std::move(arguments);
        request.runFolder = room;
        const auto result = processes::run(request);
        ASSERT_TRUE(result && result->ending.succeeded()) << program;
    }
    static std::string added(const std::string& place, const std::optional<std::string>& name = {},
                             const ArchiveLimits& limits = {}) {
        const auto engine = addEngine(place, name, host().creation, limits);
        return engine ? *engine : "failed: " + engine.error().message();
    }
    static std::vector<std::string> store() { return *files::list(layout::enginesFolder()); }
};

TEST_F(BroughtEngine, EveryShapeBecomesAnEngine) {
    const struct {
        const char *name, *top, *wine;
    } shapes[] = {{"at the top", "", "/bin/wine"},
                  {"one folder down", "/wine-9.0-amd64", "/bin/wine"},
                  {"below files", "/files", "/bin/wine"},
                  {"one folder down, below dist", "/Proton 9/dist", "/bin/wine64"},
                  {"wine64 only", "", "/bin/wine64"}};
    for (const auto& shape : shapes) {
        SCOPED_TRACE(shape.name);
        const std::string place = room + "/" + shape.name;
        build(place + shape.top, shape.wine);
        put(place + "/README", "not an engine's");
        put(place + shape.top + "/lib/wine/i386-windows/ntdll.dll", "x");
        const std::string suffix = "N" + std::to_string(++count), name = "CK9Wine9.0" + suffix;
        EXPECT_EQ(added(place, suffix), name);
        const auto facts = building::factsOf(name);
        ASSERT_TRUE(facts);
        EXPECT_TRUE(facts->runs32 && facts->runs64 && !facts->isThin);
        EXPECT_TRUE(fs::exists(place + shape.top + "/bin/wineserver")) << "the user's own stays as it is";
        EXPECT_FALSE(fs::exists(place + shape.top + "/bin/CaskeryWine"));
    }
    EXPECT_EQ(added(room + "/below files"), "CK9Wine9.0Staging");
    EXPECT_EQ(added(room + "/below files"), "CK9Wine9.0StagingOwn");
    EXPECT_TRUE(added(room + "/below files", "CK9Wine9.0Staging").starts_with("failed: There is an engine"));
}

TEST_F(BroughtEngine, EveryArchiveIsUnpacked) {
    build(room + "/wine-9.0");
    run("tar", {"-cJf", "a.tar.xz", "wine-9.0"});
    run("tar", {"-czf", "b.tgz", "-C", "wine-9.0", "."});
    run("tar", {"--zstd", "-cf", "c.tar.zst", "wine-9.0"});
    run("7z", {"a", "-bso0", "d.zip", "wine-9.0"});
    run("tar", {"-cf", "e.tar", "wine-9.0"});
    run("7z", {"a", "-bso0", "e.tar.7z", "e.tar"});
    for (const char* name : {"a.tar.xz", "b.tgz", "c.tar.zst", "d.zip", "e.tar.7z"}) {
        EXPECT_EQ(added(room + "/" + name, std::string(1, *name)), std::string("CK9Wine9.0") + *name) << name;
    }
    EXPECT_EQ(store().size(), 5U);
}

TEST_F(BroughtEngine, WhatIsNoneIsRefusedAndLeavesNothing) {
    build(room + "/good");
    fs::create_directories(room + "/empty");
    build(room + "/silent");
    put(room + "/silent/bin/wine", "#!/bin/sh\nexit 1\n", true);
    build(room + "/serverless");
    fs::remove(room + "/serverless/bin/wineserver");
    put(room + "/page.tar.xz", "<html>not found</html>");
    run("tar", {"-cJf", "good.tar.xz", "good"});
    const std::string whole = get(room + "/good.tar.xz");
    put(room + "/half.tar.xz", whole.substr(0, whole.size() / 2));
    run("tar", {"-cPf", "absolute.tar", room + "/good"});
    run("tar", {"-cPf", "up.tar", "../room/good"});
    fs::create_symlink("/etc/passwd", room + "/good/lib/passwd");
    run("tar", {"-cf", "link.tar", "good"});
    fs::remove(room + "/good/lib/passwd");
    fs::create_symlink("../../../etc", room + "/good/lib/etc");
    run("tar", {"-cf", "uplink.tar", "good"});
    fs::remove(room + "/good/lib/etc");
    fs::create_symlink("../share", room + "/good/lib/share -> x");
    run("tar", {"-cf", "fine.tar", "good"});
    run("truncate", {"-s", "200M", "good/zeros"});
    run("tar", {"-czf", "bomb.tar.gz", "good"});
    run("7z", {"a", "-bso0", "bomb.zip", "good/zeros"});
    const ArchiveLimits limits{.bytes = 100U << 20, .entries = 60'000};
    const struct {
        const char *place, *why;
    } rows[] = {{"none", "nothing is there"},
                {"empty", "it holds no Wine"},
                {"silent", "does not start"},
                {"serverless", "no \"bin/wineserver\""},
                {"page.tar.xz", "damaged"},
                {"half.tar.xz", "damaged"},
                {"absolute.tar", "a path in it leads out of it"},
                {"up.tar", "a path in it leads out of it"},
                {"link.tar", "a link in it leads out of it"},
                {"uplink.tar", "a link in it leads out of it"},
                {"bomb.tar.gz", "unpacks to more than 100 MB"},
                {"bomb.zip", "unpacks to more than 100 MB"}};
    for (const auto& row : rows) {
        const std::string told = added(room + "/" + row.place, "X", limits);
        EXPECT_TRUE(told.starts_with("failed: ")) << row.place << ": " << told;
        EXPECT_NE(told.find(row.why), std::string::npos) << row.place << ": " << told;
        EXPECT_EQ(store(), std::vector<std::string>()) << row.place;
    }
    EXPECT_TRUE(
        added(room + "/fine.tar", "X", {.bytes = 100U << 20, .entries = 5}).find("more than 5 files") !=
        std::string::npos);
    EXPECT_EQ(added(room + "/fine.tar", "X", limits), "CK9Wine9.0X");
}

}  // namespace
}  // namespace morvane::runtime
