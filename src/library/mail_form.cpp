#include "library/mail_form.h"

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/network.h"
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
    if (!answer) {
        MVAlert::showAlertErrorMessage(localized("An unknown error happened while sending the mail!"));
        return false;
    }
    if (answer->starts_with("<!-- Success -->")) {
        MVAlert::showAlertMessage(localized("Message sent with success!"), "Morvane");
        return true;
    }
    MVAlert::showAlertErrorMessage(styledTextFromHtml(*answer).text);
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
