#include "library/mail_form.h"

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/text.h"
#include "platform/host.h"
#include "platform/http.h"
#include "platform/styled_text.h"

namespace morvane::mail_form {
namespace {

std::string mailPage() {
    return filled("%@en/send_form_email.php", {host().sites.catalogue});
}

}  // namespace

bool sendMailWithPostValues(const PostValues& values) {
    return checkMailSendingOutput(NSUtilities::launchURLWithPostValues(mailPage(), values));
}

bool sendMailWithPostString(const std::string& body) {
    return checkMailSendingOutput(NSUtilities::launchURL(mailPage(), body));
}

bool checkMailSendingOutput(const std::optional<std::string>& answer) {
    const std::string shown = answer ? styledTextFromHtml(*answer).text : "";
    const bool succeeded = answer && answer->starts_with("<!-- Success -->");
    if (!succeeded && MVString::trimmed(shown).empty()) {
        MVAlert::showAlertErrorMessage(localized("An unknown error happened while sending the mail!"));
        return false;
    }
    if (succeeded) {
        MVAlert::showAlertMessage(localized("Message sent with success!"), "Morvane");
        return true;
    }
    MVAlert::showAlertErrorMessage(shown);
    return false;
}

void postSilently(const PostValues& values) {
    static_cast<void>(NSUtilities::launchURLWithPostValues(mailPage(), values));
}

std::string noReplyAddress() {
    const auto parts = parseUrl(host().sites.catalogue);
    return "no-reply@" + (parts ? parts->host : "localhost");
}

}  // namespace morvane::mail_form
