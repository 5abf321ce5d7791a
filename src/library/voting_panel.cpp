#include "library/voting_panel.h"

#include <algorithm>
#include <utility>

#include "foundation/alerts.h"
#include "foundation/computer_information.h"
#include "foundation/localization.h"
#include "library/catalogue_addresses.h"
#include "platform/host.h"

namespace morvane {

NSVotingPanel::NSVotingPanel(std::int64_t gameID, std::string title, std::function<void()> close)
    : gameID_(gameID), title_(std::move(title)), close_(std::move(close)) {}

void NSVotingPanel::clickStar(int star) {
    vote_ = std::clamp(star, 1, 5);
}

void NSVotingPanel::applyVote() {
    const auto card = NSComputerInformation::graphicCardType();
    if (!card) {
        MVAlert::showAlertErrorMessage(localized(
            "We couldn't detect your graphic card type. Please, contact us in the Help tab for support."));
        return;
    }
    host().userInterface.openLink(catalogue::voteAddress(*card, vote_, gameID_));
    cancelVote();
}

void NSVotingPanel::cancelVote() {
    if (close_) close_();
}

}  // namespace morvane
