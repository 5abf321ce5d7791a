// wrapper/processes.h: stopping what runs in a wrapper, from outside. Any thread.
#pragma once

#include <optional>
#include <string>

namespace morvane {

enum class RemovingWrapper { no, yes };

namespace NSUtilities {

/// `terminateAllCaskeryProcessesForWrapper:removingWrappers:`. Returns true at once; the work runs on the
/// queue "app.morvane.killingCaskeryProcessesForWrapper". Without a wrapper, every process whose `ps` line
/// says "wine".
bool terminateAllCaskeryProcessesForWrapper(const std::optional<std::string>& wrapper,
                                            RemovingWrapper removing);
/// The same work on the calling thread.
void terminateAllCaskeryProcessesForWrapperNow(const std::optional<std::string>& wrapper,
                                               RemovingWrapper removing);

}  // namespace NSUtilities
}  // namespace morvane
