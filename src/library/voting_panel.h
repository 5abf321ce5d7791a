// library/voting_panel.h: the panel in which the user gives a game its stars. Main thread.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace morvane {

class NSVotingPanel {
  public:
    /// `close` is called when the panel is to go.
    NSVotingPanel(std::int64_t gameID, std::string title, std::function<void()> close);

    [[nodiscard]] const std::string& title() const { return title_; }
    /// 1 to 5; 4 at first.
    [[nodiscard]] int vote() const { return vote_; }
    /// A click on one of the five stars, 1 to 5.
    void clickStar(int star);
    /// Opens the vote page in the browser and closes the panel, which stays open when the graphics card is
    /// not known.
    void applyVote();
    void cancelVote();

  private:
    const std::int64_t gameID_;
    const std::string title_;
    std::function<void()> close_;
    int vote_ = 4;
};

}  // namespace morvane
