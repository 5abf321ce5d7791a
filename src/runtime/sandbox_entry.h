// runtime/sandbox_entry.h: how one start of the launcher puts its programs into the wrapper's sandbox. One
// thread.
#pragma once

#include <string>
#include <vector>

#include "platform/result.h"
#include "runtime/child_process.h"
#include "runtime/sandbox.h"
#include "runtime/sandbox_temporary.h"
#include "wrapper/wrapper.h"

namespace morvane::runtime {

class SandboxEntry {
  public:
    /// Changes nothing.
    SandboxEntry() = default;
    /// As the wrapper's settings ask for. A failure, for the user, where they ask for one that this machine
    /// can't make, unless the user's own setting allows to go without, which is told then.
    [[nodiscard]] static Result<SandboxEntry> of(const Wrapper& wrapper);

    [[nodiscard]] Sandbox mode() const { return view_.mode; }
    /// For what downloads for the wrapper: a strict one has a network all the same.
    void allowNetwork();
    /// The wineserver that runs already; each program joins it, and sees what it sees. A failure, for the
    /// user, when it runs in another sandbox than this start's, or in one at all where this start has none.
    [[nodiscard]] Result<> join(int server);
    /// What an installer needs, readable from now on. A failure when a server that was joined doesn't see it.
    [[nodiscard]] Result<> show(const std::string& program);
    /// Writable from now on; made when it is missing.
    [[nodiscard]] Result<> open(const std::string& folder);
    /// A link that lies where the sandbox has nothing.
    void addLink(const std::string& place, const std::string& destination);

    /// The program in the sandbox, with the wineserver of that number; 0: none runs.
    [[nodiscard]] ChildRequest around(ChildRequest request, int server) const;

  private:
    SandboxView view_;
    SandboxTemporary temporary_;
    std::string program_;  ///< bubblewrap
    int joined_ = 0;
};

}  // namespace morvane::runtime
