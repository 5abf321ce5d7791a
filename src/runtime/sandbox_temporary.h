// runtime/sandbox_temporary.h: the folder that every start of a wrapper's sandbox has as its "/tmp". One thread.
//
// Wine finds a running wineserver by a folder in "/tmp". Starts that see different ones would run two servers on
// one prefix, which ruins its registry; so the folder is found by nothing but the wrapper. It lies outside of
// what programs in the sandbox may change, or they could put a link in its place.
#pragma once

#include <string>

#include "platform/descriptor.h"
#include "platform/result.h"
#include "wrapper/wrapper.h"

namespace morvane::runtime {

class SandboxTemporary {
  public:
    /// None.
    SandboxTemporary() = default;
    /// Makes the folder, closed to everybody else; what ended starts have left in it goes. A failure when it
    /// can't be this user's own.
    [[nodiscard]] static Result<SandboxTemporary> of(const Wrapper& wrapper);
    SandboxTemporary(SandboxTemporary&&) noexcept = default;
    SandboxTemporary& operator=(SandboxTemporary&&) noexcept = default;
    /// The last one empties the folder, unless programs of the wrapper still run.
    ~SandboxTemporary();

    [[nodiscard]] const std::string& path() const { return path_; }

  private:
    void emptyUnlessUsed() const;

    std::string path_, prefix_;
    Descriptor folder_;  ///< shares its lock with the other starts
};

}  // namespace morvane::runtime
