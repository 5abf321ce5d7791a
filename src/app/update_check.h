// app/update_check.h: the look for a newer version of the application. Any thread.
//
// The catalogue may keep the file "files/version.txt" with two lines: the newest version, as "1.2.3", and the
// http or https link of the page on which it is to be had. It is asked for once a day at most; the user is
// told of a newer version, and gets it, or not, from that page. Nothing is fetched or installed by itself.
#pragma once

namespace morvane::update_check {

/// Looks in the background, unless the setting "SUEnableAutomaticChecks" is off or it was looked today. The
/// user hears of a newer version, and of nothing else.
void lookForUpdate();

}  // namespace morvane::update_check
