#include "platform/download_parts.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "platform/files.h"
#include "support/results.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;

class DownloadParts : public ::testing::Test {
  public:
    const testing::TemporaryFolder room;
    const std::string folder = room.path + "/cache/parts", place = room.path + "/file";
    const HttpHead head{.status = 200, .length = 6, .entityTag = "\"1\""};

    DownloadPart part(const std::string& link = "http://x/a") const { return {folder, link}; }
    /// Leaves three of six bytes.
    void leave(const std::string& link = "http://x/a") const {
        DownloadPart begun = part(link);
        ASSERT_TRUE(begun.begin(head));
        ASSERT_TRUE(begun.append("abc"));
    }
    [[nodiscard]] std::size_t count() const {
        const auto names = files::list(folder);
        return names ? names->size() : 0;
    }
};

TEST_F(DownloadParts, AreGoneOnWithByTheAnswersThatFit) {
    struct Row {
        const char* name;
        HttpHead answer;
        bool goesOn, refused;
    };
    const std::vector<Row> rows{
        {"the rest", {.status = 206, .contentRange = "bytes 3-5/6"}, true, false},
        {"of unknown length", {.status = 206, .contentRange = "bytes 3-5/*"}, true, false},
        {"the whole", {.status = 200, .length = 6}, false, false},
        {"another length", {.status = 206, .contentRange = "bytes 3-5/7"}, false, true},
        {"another place", {.status = 206, .contentRange = "bytes 2-5/6"}, false, true},
        {"another mark", {.status = 206, .entityTag = "\"2\"", .contentRange = "bytes 3-5/6"}, false, true},
        {"no range", {.status = 206}, false, true},
        {"rubbish", {.status = 206, .contentRange = "bytes -5/6"}, false, true},
        {"unchanged", {.status = 304}, false, true},
        {"too short", {.status = 416}, false, true}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        leave();
        DownloadPart next = part();
        ASSERT_EQ(next.requestHeaders(), (std::vector<std::string>{"Range: bytes=3-", "If-Range: \"1\""}));
        EXPECT_EQ(next.begin(row.answer).has_value(), !row.refused);
        EXPECT_EQ(next.mustStartAnew(), row.refused);
        if (row.refused) next.startAnew();
        EXPECT_EQ(next.size(), row.goesOn ? 3U : 0U);
        if (row.refused) static_cast<void>(next.begin(head));
        EXPECT_TRUE(next.append(row.goesOn ? "def" : "uvwxyz"));
        EXPECT_TRUE(next.putAt(place, DownloadPart::Keep::no));
        EXPECT_EQ(*files::read(place), row.goesOn ? "abcdef" : "uvwxyz");
        EXPECT_EQ(count(), 0U);
    }
    leave();
    DownloadPart busy = part();
    ASSERT_FALSE(busy.requestHeaders().empty());
    EXPECT_TRUE(busy.begin({.status = 503}));
    EXPECT_EQ(busy.size(), 3U) << "a server that is busy costs nothing";
}

TEST_F(DownloadParts, TimesOfChangeCountOnceTheyAreOld) {
    const std::string old = "Mon, 01 Jan 2024 10:00:00 GMT", now = "Mon, 01 Jan 2024 10:00:01 GMT",
                      late = "Mon, 01 Jan 2024 10:00:09 GMT";
    for (const auto& [date, headers] :
         std::vector<std::pair<std::string, std::size_t>>{{late, 2}, {now, 0}, {"", 0}}) {
        {
            DownloadPart begun = part();
            ASSERT_TRUE(begun.begin({.status = 200, .length = 6, .lastModified = old, .date = date}));
            ASSERT_TRUE(begun.append("abc"));
        }
        EXPECT_EQ(part().requestHeaders().size(), headers) << date;
        download_parts::forget(folder, "http://x/a");
    }
    EXPECT_EQ(count(), 0U);
}

TEST_F(DownloadParts, TwoNeverFillOne) {
    leave();
    DownloadPart first = part(), second = part();
    EXPECT_EQ(first.size(), 3U);
    EXPECT_EQ(second.size(), 0U);
    ASSERT_TRUE(second.begin(head));
    ASSERT_TRUE(second.append("uvwxyz"));
    download_parts::forget(folder, "http://x/a");
    EXPECT_EQ(count(), 4U) << "what is being filled stays";
    EXPECT_TRUE(second.putAt(place, DownloadPart::Keep::no));
    EXPECT_EQ(*files::read(place), "uvwxyz");
    EXPECT_EQ(first.requestHeaders().front(), "Range: bytes=3-");
    EXPECT_EQ(part("http://x/b").size(), 0U);
}

TEST_F(DownloadParts, NeverShareAFileWithTwoPlaces) {
    {
        DownloadPart whole = part();
        ASSERT_TRUE(whole.begin(head));
        ASSERT_TRUE(whole.append("abcdef"));
        ASSERT_TRUE(whole.putAt(place, DownloadPart::Keep::untilForgotten));
    }
    DownloadPart again = part();
    ASSERT_EQ(again.requestHeaders(), std::vector<std::string>{"If-None-Match: \"1\""});
    ASSERT_TRUE(again.begin({.status = 304}));
    ASSERT_TRUE(again.putAt(place + "2", DownloadPart::Keep::untilForgotten));
    EXPECT_FALSE(fs::equivalent(place, place + "2"));
    EXPECT_EQ(*files::read(place + "2"), "abcdef");
}

TEST_F(DownloadParts, GoWhenTheyAreOldOrTooMany) {
    for (const char* link : {"http://x/1", "http://x/2", "http://x/3"}) leave(link);
    ASSERT_EQ(count(), 6U);
    const auto names = *files::list(folder);
    const std::vector<timespec> old{{time(nullptr) - 15 * 24 * 3600, 0}, {time(nullptr) - 15 * 24 * 3600, 0}};
    for (const std::string& name : names) {
        if (!name.ends_with(".part")) continue;
        ASSERT_EQ(::utimensat(AT_FDCWD, (folder + "/" + name).c_str(), old.data(), 0), 0);
        break;
    }
    download_parts::prune(folder);
    EXPECT_EQ(count(), 4U);
    download_parts::prune(folder, 5);
    EXPECT_EQ(count(), 2U);
}

TEST_F(DownloadParts, Errors) {
    DownloadPart huge = part();
    ASSERT_TRUE(huge.begin({.status = 200, .length = std::uint64_t{1} << 60, .entityTag = "\"1\""}));
    EXPECT_EQ(testing::why(huge.append("x")), "No space left on device");
    ASSERT_TRUE(files::createFolder(room.path + "/open", true));
    fs::permissions(room.path + "/open", fs::perms(0777));
    EXPECT_EQ(testing::why(DownloadPart(room.path + "/open", "http://x/a").append("x")), "Permission denied");
    EXPECT_EQ(testing::why(DownloadPart(place, "l").putAt(place, DownloadPart::Keep::no)),
              "No such file or directory");
}

}  // namespace
}  // namespace morvane
