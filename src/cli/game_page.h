// cli/game_page.h: the page of a game without a window: what it would open is said. Main thread.
#pragma once

#include <functional>
#include <string>

#include "cli/session.h"
#include "library/apps_array.h"
#include "library/description_view.h"

namespace morvane::cli {

class GamePage {
  public:
    enum class Details { no, yes };

    /// With details, icon and ratings are loaded after the page is filled.
    GamePage(Session& session, Details details);

    /// Shows the port of the catalogue, then runs the action, and all that it starts. The exit code, or the
    /// exit status of the game that was played; a failure when there is no such port.
    int open(std::int64_t id, const std::function<int(NSDescriptionView&)>& action);
    /// The same with an installed game.
    int open(const std::string& path, const std::function<int(NSDescriptionView&)>& action);
    [[nodiscard]] const NSDescriptionView& view() const { return view_; }

    /// What is done with a rating panel when one opens.
    std::function<void(NSVotingPanel&)> vote;

  private:
    NSDescriptionView::Callbacks callbacks(Details details);
    int run(const std::function<int(NSDescriptionView&)>& action, const std::function<int()>& begin);

    Session& session_;
    NSAppsArray apps_;
    std::function<void()> opened_;
    std::optional<int> gameStatus_;  // of a game that was played
    NSDescriptionView view_;
};

/// Says that the catalogue cannot be reached, when it cannot.
[[nodiscard]] bool canReachCatalogue(Session& session);
/// The same of one that has not answered; the exit code of that.
int failWithoutCatalogue(Session& session);
/// The page's facts, and its description as paragraphs for a person.
void printPage(Console& console, const NSDescriptionView& view, const std::string& path);

}  // namespace morvane::cli
