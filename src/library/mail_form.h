// library/mail_form.h: the catalogue's mail form, to which messages and crash reports are posted. Any thread;
// the posts block on the network.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace morvane::mail_form {

using PostValues = std::vector<std::pair<std::string, std::string>>;

/// Whether the catalogue took the message; the user is told either way.
bool sendMailWithPostValues(const PostValues& values);
/// The same for a body that is ready.
bool sendMailWithPostString(const std::string& body);
/// Tells the user what the answer means.
bool checkMailSendingOutput(const std::optional<std::string>& answer);

/// Posts and looks at no answer.
void postSilently(const PostValues& values);
/// The sender of reports from nobody in particular: an address at the catalogue's host.
[[nodiscard]] std::string noReplyAddress();

}  // namespace morvane::mail_form
