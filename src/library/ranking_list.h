// library/ranking_list.h: the ranking lists of the catalogue. Main thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace morvane {

class NSRankingList {
  public:
    enum class TableType { latest, popular, highrated };
    /// Less than a line of the catalogue: it says neither what the port depends on nor where it lies.
    struct Row {
        std::int64_t id = 0;
        std::string creator, name;
        std::string date;            ///< readable; of "latest"
        std::int64_t downloads = 0;  ///< of "popular"
        double rate = 0;             ///< of "highrated"
    };
    enum class State { notAsked, loading, loaded, unreachable };
    struct Callbacks {
        std::function<void()> reload;                          ///< the rows or the state have changed
        std::function<void(std::int64_t id)> openDescription;  ///< the row of that port was opened
    };

    NSRankingList(TableType tableType, Callbacks callbacks);
    ~NSRankingList();
    NSRankingList(const NSRankingList&) = delete;
    NSRankingList& operator=(const NSRankingList&) = delete;

    /// Loads the rows once, in the background; nothing happens while they are loading and when they are loaded.
    /// What could not be reached is asked for again.
    void loadRankingListForVideoCard(const std::string& card);

    [[nodiscard]] State state() const { return state_; }
    /// What stands in place of the rows; empty when there are rows.
    [[nodiscard]] std::string notice() const;
    /// "Latest ports"...
    [[nodiscard]] std::string title() const;
    /// Whether the catalogue has answered, be it with an empty list.
    [[nodiscard]] bool hasAnswered() const { return state_ == State::loaded; }
    [[nodiscard]] std::size_t numberOfRows() const { return rows_.size(); }
    [[nodiscard]] const Row& row(std::size_t index) const { return rows_.at(index); }
    /// The text of a row: `valueForLatestPortAtRow:`, `valueForPopularPortAtRow:` or
    /// `valueForHighratedPortAtRow:`.
    [[nodiscard]] std::string valueAtRow(std::size_t row) const;
    /// Opens the row's entry; nothing for a row that is not there.
    void doubleClick(std::size_t row);

    /// "2016-03-05" to "05/Mar/2016"; a text of another form stays as it is.
    [[nodiscard]] static std::string dateToReadableDate(std::string_view date);
    /// The rows of an answer of the catalogue.
    [[nodiscard]] static std::vector<Row> rowsOfAnswer(std::string_view answer, TableType tableType);

  private:
    const TableType tableType_;
    Callbacks callbacks_;
    std::vector<Row> rows_;
    State state_ = State::notAsked;
    /// Dies with the list: what the background brings later finds nobody.
    std::shared_ptr<NSRankingList*> self_;
};

}  // namespace morvane
