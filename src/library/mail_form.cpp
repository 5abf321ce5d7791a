#include "library/mail_form.h"

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/text.h"
#include "library/catalogue_addresses.h"
#include "platform/host.h"
#include "platform/http.h"
#include "platform/styled_text.h"

namespace morvane::mail_form {
namespace {

std::string mailPageOf(const std::string& site) {
    return filled("%@en/send_form_email.php", {site});
}

/// The answer to the mail that `send` sends to a page. A host of plain files refuses it, and may name the server
/// that takes it.
template <class Send>
std::optional<std::string> sent(const Send& send) {
    const std::string site = catalogue::liveSite();
    if (auto answer = send(mailPageOf(site))) return answer;
    const std::string named = catalogue::liveSiteAskedFor();
    return named == site ? std::nullopt : send(mailPageOf(named));
}

}  // namespace

bool sendMailWithPostValues(const PostValues& values) {
    return checkMailSendingOutput(
        sent([&](const std::string& page) { return NSUtilities::launchURLWithPostValues(page, values); }));
}

bool sendMailWithPostString(const std::string& body) {
    return checkMailSendingOutput(
        sent([&](const std::string& page) { return NSUtilities::launchURL(page, body); }));
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
    static_cast<void>(NSUtilities::launchURLWithPostValues(mailPageOf(catalogue::liveSite()), values));
}

std::string noReplyAddress() {
    const auto parts = parseUrl(host().sites.catalogue);
    return "no-reply@" + (parts ? parts->host : "localhost");
}

}  // namespace morvane::mail_form
