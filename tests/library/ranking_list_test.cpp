#include "library/ranking_list.h"

#include "library/library_machine.h"

namespace morvane {
namespace {

using Type = NSRankingList::TableType;

class RankingList : public testing::LibraryMachine {
  protected:
    std::vector<std::string> texts(NSRankingList& list) {
        list.loadRankingListForVideoCard("ATi/AMD");
        onWorker([&] { machine->workQueues.joinAll(); });
        std::vector<std::string> result;
        for (std::size_t row = 0; row < list.numberOfRows(); ++row) result.push_back(list.valueAtRow(row));
        return result;
    }
};

TEST_F(RankingList, ShowsItsRows) {
    struct Row {
        Type type;
        std::string answer;
        Lines texts;
    };
    const Row rows[] = {{Type::latest,
                         "<p>top</p><br>12 || Bob || Half Life || 2016-03-05<br>x<br>1 || a || b<br>13 || "
                         "Bob || B || 2016-13-01",
                         {"(05/Mar/2016) Half Life", "(2016-13-01) B"}},
                        {Type::popular,
                         "1 || a || A || 1234567<br>2 || b || \xff || 1<br>3 || c || C || none",
                         {"(1,234,567 down.) A", "(0 down.) C"}},
                        {Type::highrated,
                         "1 || a || A || 4.25<br>2 || b || B || nan<br>3 || c || C || 1e70 || more",
                         {"4.2 - A", "0.0 - B",
                          "10000000000000000725314363815292351261583744096465219555182101554790400.0 - C"}},
                        {Type::highrated, "", {}}};
    for (const Row& row : rows) {
        site.answer("/ckis/rankingPorts.php", {.body = row.answer});
        NSRankingList list(row.type, {});
        EXPECT_EQ(texts(list), row.texts);
    }
    EXPECT_EQ(site.requests().front(), "GET /ckis/rankingPorts.php?type=latest&num=25&card=ATi/AMD");
}

TEST_F(RankingList, LoadsOnceAndOpensARow) {
    site.answer("/ckis/rankingPorts.php", {.body = "12 || Bob || A & B || 3"});
    std::vector<std::int64_t> opened;
    NSRankingList list(Type::popular,
                       {.reload = {}, .openDescription = [&](std::int64_t id) { opened.push_back(id); }});
    reachable = [](const std::string&) { return false; };
    EXPECT_EQ(texts(list), Lines{});
    EXPECT_EQ(list.state(), NSRankingList::State::unreachable);
    EXPECT_FALSE(list.notice().empty());
    reachable = [](const std::string&) { return true; };
    list.loadRankingListForVideoCard("Intel");
    EXPECT_EQ(list.notice(), "Loading...");
    EXPECT_FALSE(list.hasAnswered());
    EXPECT_EQ(texts(list), Lines{"(3 down.) A & B"}) << "after the catalogue has come back";
    EXPECT_EQ(list.notice(), "");
    EXPECT_EQ(texts(list).size(), 1U);
    EXPECT_EQ(site.requests().size(), 1U);
    list.doubleClick(0);
    list.doubleClick(1);
    EXPECT_EQ(opened, std::vector<std::int64_t>{12});
}

}  // namespace
}  // namespace morvane
