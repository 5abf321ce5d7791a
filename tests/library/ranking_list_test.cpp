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
