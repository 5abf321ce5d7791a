// wrapper/processes.h: stopping what runs in a wrapper, from outside. Any thread.
//
// What the stopping programs answer is not looked at. The calling program, its ancestors and process 1 are
// never stopped. A path that cannot be a wrapper's (not absolute, with "." or ".." in it, the home folder or
// a folder above it, also through links) is refused: nothing is stopped and nothing removed.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace morvane {

enum class RemovingWrapper { no, yes };

namespace NSUtilities {

/// Returns true at once; the work runs on the queue "app.morvane.killingCaskeryProcessesForWrapper". Without
/// a wrapper, every process whose `ps` line says "wine".
bool terminateAllCaskeryProcessesForWrapper(const std::optional<std::string>& wrapper,
                                            RemovingWrapper removing);
/// The numbers of the processes that have the wrapper's path, its real one, in their `ps` line, as far as the
/// two operations would stop them.
[[nodiscard]] std::vector<int> runningProcessesOfWrapper(const std::string& wrapper);
/// The numbers, as texts, of the processes of a `ps ax` listing that may be stopped: of the lines that hold the
/// wrapper's path; without a wrapper, that say "wine".
[[nodiscard]] std::vector<std::string> processesInListing(std::string_view listing,
                                                          const std::optional<std::string>& wrapper);
/// The same work on the calling thread.
void terminateAllCaskeryProcessesForWrapperNow(const std::optional<std::string>& wrapper,
                                               RemovingWrapper removing);
/// For each of the wrappers whether a process has something in it in its `ps` line; the processes are listed once.
[[nodiscard]] std::vector<bool> whichWrappersRun(const std::vector<std::string>& wrappers);

}  // namespace NSUtilities
}  // namespace morvane
