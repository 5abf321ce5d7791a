// library/game_pages.h: the windows of a game: trailer, instructions, the panel in which it is rated. Main thread.
//
// Every operation is given its game and keeps to it through all its questions. Without a game nothing happens.
#pragma once

#include <memory>
#include <string>

#include "library/game_installation.h"
#include "library/voting_panel.h"

namespace morvane {

class NSDescriptionView;

class GamePages {
  public:
    /// Windows and panels are opened through that page's callbacks.
    explicit GamePages(NSDescriptionView& page) : page_(page) {}
    ~GamePages();
    GamePages(const GamePages&) = delete;
    GamePages& operator=(const GamePages&) = delete;

    /// The panel comes once the graphics card is known; it takes the place of one that is open.
    void rateGame(const GamePointer& game);
    void playTrailer(const GamePointer& game);
    void watchInstructions(const GamePointer& game);
    void watchInstructionsForSource(const GamePointer& game, const std::string& source);
    void showCrossOverAlternative(const GamePointer& game);
    /// The size of the view in which pages play, in points; 0 by 0 while there is none.
    void setTrailerViewSize(double width, double height);
    struct Size {
        double width = 0, height = 0;
    };
    [[nodiscard]] Size trailerViewSize() const { return trailerViewSize_; }
    void showWindow(const std::string& name, const std::string& html, const std::string& link) const;

  private:
    void openVotingPanel(const NSGameData& game, const std::string& card);
    void closeVotingPanel();

    NSDescriptionView& page_;
    std::shared_ptr<NSVotingPanel> votingPanel_;
    unsigned votingPanels_ = 0;  ///< opened so far
    Size trailerViewSize_;
};

}  // namespace morvane
