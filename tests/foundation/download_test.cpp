#include "foundation/download.h"

#include <atomic>
#include <filesystem>

#include "support/full_disk.h"
#include "support/loopback_site.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using testing::SiteAnswer;

constexpr const char* useInstead = "There is already a file called \"file.bin\" in the specified folder. ";
constexpr const char* notAvailable =
    "The informed file isn't available. Do you want to inform an updated link?";
constexpr const char* stalled =
    "The informed file seems not to be available. Morvane may force the download. "
    "Do you want to inform an updated link?";
constexpr const char* shortBody = "The download seems to have been corrupted. Do you want to try again?";

class Downloads : public testing::TestMachine {
  public:
    testing::LoopbackSite site;
    std::shared_ptr<NSProgressView> panel = std::make_shared<NSProgressView>();
    Download download{panel};
    const std::string path = home + "/file.bin";

    std::string link(const std::string& name) const { return site.baseAddress() + name; }

    bool run(const std::string& url, Silence silence = Silence::no) {
        bool result = false;
        onWorker([&] {
            result = download.downloadFile(url, path, silence);
            over = true;
        });
        return result;
    }
    /// Does the work on the main thread as soon as the condition, tested there, holds.
    void once(std::function<bool()> condition, std::function<void()> work) {
        machine->mainQueue.post([this, condition, work] {
            if (over) return;
            if (!condition()) return once(condition, work);
            work();
        });
    }
    [[nodiscard]] bool requested() const { return !site.requests().empty(); }
    [[nodiscard]] bool fileExists() const { return std::filesystem::exists(path); }
    /// What lies in the cache of parts, and beside the file.
    [[nodiscard]] std::vector<std::string> passing() const {
        std::vector<std::string> names;
        for (const std::string& place : {home, machine->folders.temporary + "/Downloads"}) {
            std::error_code none;
            for (const auto& entry : std::filesystem::directory_iterator(place, none)) {
                const std::string name = entry.path().filename();
                if (name.starts_with(".morvane-") || name.ends_with(".part") || name.ends_with(".note"))
                    names.push_back(name);
            }
        }
        return names;
    }

  private:
    std::atomic<bool> over = false;
};

TEST_F(Downloads, AShortBodyIsSavedOnlyWhenTheUserSaysSo) {
    site.answer("/short", {.body = "half", .announcedLength = 8});
    ui.expect("").titleIs("Error").defaultIs("Yes").answer("Yes");
    ui.expect("").answer("No");
    EXPECT_TRUE(run(link("short")));
    EXPECT_TRUE(ui.dialogs[0].text.ends_with(". Do you want to try again?")) << ui.dialogs[0].text;
    EXPECT_EQ(get(path), "half");
    EXPECT_EQ(site.requests().size(), 2U);
}

TEST_F(Downloads, SilentOnesNeverAskAndGiveUp) {
    site.answer("/short", {.body = "half", .announcedLength = 8});
    site.answer("/empty", {});
    site.answer("/good", {.body = "good"});
    site.answerInTurn("/flaky", {{.body = "half", .announcedLength = 8}, {.body = "all of it"}});
    EXPECT_TRUE(run(link("short"), Silence::yes));
    EXPECT_EQ(site.requests().size(), 1U + Download::silentRetries);
    EXPECT_FALSE(fileExists());
    for (const char* nothing : {"empty", "missing"}) {
        EXPECT_TRUE(run(link(nothing), Silence::yes));
        EXPECT_FALSE(fileExists());
    }
    put(path, "old");
    EXPECT_TRUE(run(link("good"), Silence::yes));
    EXPECT_EQ(get(path), "good");
    EXPECT_TRUE(run(link("flaky"), Silence::yes));
    EXPECT_EQ(get(path), "all of it");
    EXPECT_TRUE(ui.progress.empty());
}

TEST_F(Downloads, AFullDiskIsToldAndLeavesNothing) {
    site.answer("/good", {.body = "good"});
    site.answer("/endless", {.body = std::string(3 << 20, 'e'), .withoutLength = true});
    site.answer("/huge", {.body = "begin", .announcedLength = 1LL << 60, .stall = true});
    ui.expectError("Error while writting file: No space left on device");
    EXPECT_TRUE(run(link("huge")));
    {
        const testing::FullDisk full(1 << 20);
        ui.expectError("Error while writting file: File too large");
        EXPECT_TRUE(run(link("endless")));
        EXPECT_TRUE(run(link("endless"), Silence::yes));
    }
    EXPECT_EQ(passing(), std::vector<std::string>{});
    EXPECT_FALSE(fileExists());

    std::filesystem::create_directory(path);  // what cannot be replaced by a file
    EXPECT_TRUE(run(link("good"), Silence::yes));
    ui.expectError("Error while writting file: ");
    EXPECT_TRUE(run(link("good")));
    EXPECT_EQ(passing(), std::vector<std::string>{});
}

TEST_F(Downloads, AreDecidedBeforeAnyByteIsFetched) {
    const std::string offline = "http://offline.invalid/x", invalid = "just words", valid = link("x");
    const std::string offlineQuestion =
        "You aren't connected to the internet, but there is already a file called \"file.bin\" in the "
        "specified folder. Do you want to use it instead?";
    const std::string invalidQuestion =
        "The link seems to be invalid, but there is already a file called \"file.bin\" in the specified "
        "folder. Do you want to use it instead?";
    const std::string override = "Do you want to override it?", move = "Move that file to a different folder";
    struct Row {
        std::string url;
        bool exists;
        Silence silence;
        std::vector<std::pair<std::string, std::string>> answers;
        bool cancel, existsAfter;
    };
    using enum Silence;
    const std::vector<Row> rows{
        {offline, false, yes, {}, true, false},
        {offline, false, no, {{"The website seems to be offline.", "OK"}}, true, false},
        {offline, true, yes, {}, false, true},
        {offline, true, no, {{offlineQuestion, "Yes"}}, false, true},
        {offline, true, no, {{offlineQuestion, "No"}}, true, true},
        {invalid, false, yes, {}, true, false},
        {invalid, false, no, {{"The download link seems to be invalid.", "OK"}}, true, false},
        {invalid, true, yes, {}, false, true},
        {invalid, true, no, {{invalidQuestion, "Yes"}}, false, true},
        {invalid, true, no, {{invalidQuestion, "No"}}, true, true},
        {valid, false, no, {}, false, false},
        {valid, true, yes, {}, false, false},
        {valid, true, no, {{useInstead, "Yes"}}, true, true},
        {valid, true, no, {{useInstead, "No"}, {override, "Yes"}}, false, false},
        {valid,
         true,
         no,
         {{useInstead, "No"}, {override, "No"}, {move, "OK"}, {useInstead, "Yes"}},
         true,
         true}};
    for (std::size_t index = 0; index < rows.size(); ++index) {
        SCOPED_TRACE(index);
        const Row& row = rows[index];
        std::filesystem::remove(path);
        if (row.exists) put(path, "old");
        for (const auto& [question, button] : row.answers) {
            auto& expected = ui.expect(question).answer(button);
            if (button != "OK") expected.titleIs("Warning").defaultIs(question == override ? "No" : "Yes");
        }
        EXPECT_EQ(download.shouldCancelDownloadOfFile(row.url, path, row.silence), row.cancel);
        EXPECT_EQ(fileExists(), row.existsAfter);
    }
    EXPECT_FALSE(requested());
}

TEST_F(Downloads, AStalledTransferIsReplacedByTheLinkThatTheUserGives) {
    site.answer("/stalled", {.body = "", .announcedLength = 100, .stall = true});
    site.answer("/good", {.body = "good"});
    once([&] { return requested(); },
         [&] {
             for (int tick = 1; tick <= 9; ++tick) download.timerFireMethod();
             EXPECT_TRUE(ui.dialogs.empty());
             ui.expect(stalled).titleIs("Error").defaultIs("Yes").answer("No");
             for (int tick = 10; tick <= 20; ++tick) download.timerFireMethod();
             EXPECT_EQ(ui.dialogs.size(), 1U);
             ui.expect(stalled).answer("Yes");
             ui.expectInput("Inform the updated link:").type(link("good"));
             download.timerFireMethod();
         });
    EXPECT_TRUE(run(link("stalled")));
    EXPECT_EQ(get(path), "good");
    EXPECT_EQ(ui.dialogs.size(), 3U) << "the first transfer asks nothing more";
}

TEST_F(Downloads, ACancellationThrowsAndWritesNothing) {
    site.answer("/stalled", {.body = "part", .announcedLength = 100, .stall = true});
    onWorker([&] {
        ASSERT_TRUE(machine->creation.begin());
        once([&] { return !passing().empty(); }, [&] { machine->creation.request(); });
        EXPECT_THROW(download.downloadFile(link("stalled"), path, Silence::no), Cancelled);
        machine->creation.end();
    });
    EXPECT_FALSE(fileExists());
    EXPECT_TRUE(passing().empty());
    EXPECT_FALSE(download.isDownloading());
}

TEST_F(Downloads, WhatTheQuestionOfATickThrowsReachesTheCaller) {
    site.answer("/stalled", {.body = "", .announcedLength = 100, .stall = true});
    for (const bool atTheLink : {false, true}) {
        const std::size_t before = site.requests().size();
        if (atTheLink) ui.expect(stalled).answer("Yes");
        ui.expect("").throws();
        once([&] { return site.requests().size() > before; },
             [&] {
                 for (int tick = 1; tick <= 10; ++tick) EXPECT_NO_THROW(download.timerFireMethod());
             });
        EXPECT_THROW(run(link("stalled")), std::runtime_error);
        EXPECT_FALSE(download.isDownloading());
    }
}

TEST_F(Downloads, GoOnWhereAnEarlierOneStopped) {
    const std::string body = "0123456789", other = "abcdefghij";
    struct Row {
        const char* name;
        SiteAnswer first, second;
        std::string expected;
        std::size_t sent;  // the second time
    };
    const std::vector<Row> rows{{"rest",
                                 {.body = body, .entityTag = "\"1\"", .cutAfter = 4},
                                 {.body = body, .entityTag = "\"1\""},
                                 body,
                                 6},
                                {"other file",
                                 {.body = body, .entityTag = "\"1\"", .cutAfter = 4},
                                 {.body = other, .entityTag = "\"2\""},
                                 other,
                                 10},
                                {"one that was shortened",
                                 {.body = body, .entityTag = "\"1\"", .cutAfter = 8},
                                 {.status = 416, .body = "no such part"},
                                 "",
                                 0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        site.answerInTurn("/file", {row.first, row.second});
        // Given up after the first transfer: the retries of a silent one would go on by themselves.
        onWorker([&] {
            ASSERT_TRUE(machine->creation.begin());
            ui.expect("").throws();
            EXPECT_THROW(download.downloadFile(link("file"), path, Silence::no), std::runtime_error);
            machine->creation.end();
        });
        EXPECT_FALSE(fileExists());
        if (row.expected.empty()) ui.expect(notAvailable).answer("No");
        Download another(panel);
        onWorker([&] { EXPECT_TRUE(another.downloadFile(link("file"), path, Silence::no, "?1")); });
        EXPECT_EQ(fileExists() ? get(path) : "", row.expected);
        EXPECT_EQ(row.expected.empty() ? 0 : site.sentSizes().back(), row.sent);
        EXPECT_EQ(passing(), std::vector<std::string>{});
        std::filesystem::remove(path);
    }
}

TEST_F(Downloads, WhatABuildNeedsAgainIsKeptUntilItIsForgotten) {
    site.answer("/file", {.body = "0123456789", .entityTag = "\"1\""});
    const auto fetch = [&](Download& with) {
        std::filesystem::remove(path);
        onWorker([&] { EXPECT_TRUE(with.downloadFile(link("file"), path, Silence::no)); });
        EXPECT_EQ(get(path), "0123456789");
        return site.sentSizes().back();
    };
    Download first(panel, Download::Keep::untilForgotten), second(panel, Download::Keep::untilForgotten),
        third(panel, Download::Keep::untilForgotten), fourth(panel, Download::Keep::untilForgotten);
    EXPECT_EQ(fetch(first), 10U);
    EXPECT_EQ(fetch(first), 10U) << "the same build could not use it";
    EXPECT_EQ(fetch(second), 0U);
    // Somebody has written into the file, which has two names: it is not used again.
    put(path, "changed!!!");
    std::filesystem::last_write_time(path,
                                     std::filesystem::file_time_type::clock::now() + std::chrono::seconds(9));
    EXPECT_EQ(fetch(third), 10U);
    EXPECT_EQ(fetch(fourth), 0U);
    fourth.forgetParts();
    EXPECT_EQ(passing(), std::vector<std::string>{});
}

TEST_F(Downloads, TheEndOfTheApplicationReleasesTheCaller) {
    site.answer("/stalled", {.body = "", .announcedLength = 100, .stall = true});
    once([&] { return requested(); }, [&] { machine->mainQueue.close(); });
    EXPECT_FALSE(run(link("stalled"), Silence::yes));
    EXPECT_FALSE(fileExists());
}

}  // namespace
}  // namespace morvane
