#include "building/agreement.h"

#include "building/build.h"
#include "building/foreseen_questions.h"
#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "platform/host.h"

namespace morvane {

bool doYouAgreeWithTheLicenseAgreement() {
    bool agreed = false;
    // A queue that is closed meanwhile leaves the agreement unanswered, which is no agreement.
    static_cast<void>(host().mainQueue.callAndWait([&] { agreed = agreement(); }));
    return agreed;
}

bool agreement() {
    const std::string path = files::join(host().folders.resources, "agreement.txt");
    auto text = files::read(path);
    if (!text) {
        // Nobody can agree to what can't be read.
        MVAlert::showAlertErrorMessage(localized("Error while reading file: %@", {text.error().why}));
        return false;
    }
    const Dialog dialog = building::agreementDialog(*std::move(text));
    return MVAlert::showDialog(dialog).button == 0;
}

}  // namespace morvane
