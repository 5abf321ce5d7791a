// runtime/system_engine.h: this machine's own Wine as an engine. Any thread; blocks for as long as packing
// takes.
//
// Debian's Wine for 64-bit programs is enough; programs of 32 bits run where its 32-bit part is installed
// too.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/annotations.h"
#include "platform/cancellation.h"
#include "platform/private_folder.h"
#include "platform/result.h"

namespace morvane::runtime {

/// Thin: scripts that run this machine's Wine; it is 3 kB, and follows the machine's updates. Full: a copy
/// that runs without it, also on another machine of its kind, without debug information.
enum class SystemEngine { thin, full };

/// "CK9Wine8.0" for Wine 8.0; a failure that says what to install when there is no Wine.
[[nodiscard]] Result<std::string> systemEngineName();

/// A request to the cancellation stops it and throws `Cancelled`.
/// Packs it as `<name>.tar.7z` in the folder, replacing one of that name, and gives the archive's path. The
/// archive holds `<name>.tar`, and that "ckwine.bundle" with "bin", "lib", "share" and "version".
[[nodiscard]] Result<std::string> packSystemEngine(const std::string& folder, SystemEngine kind,
                                                   Cancellation& cancellation);

/// The engines of the embedded site: this machine's Wine, thin, packed when it is first asked for, into a
/// temporary folder that goes with the object.
class SystemEngineStore {
  public:
    SystemEngineStore() = default;
    SystemEngineStore(const SystemEngineStore&) = delete;
    SystemEngineStore& operator=(const SystemEngineStore&) = delete;

    /// No name on a machine without Wine.
    [[nodiscard]] std::vector<std::string> names() const;
    [[nodiscard]] Result<std::string> archive(const std::string& name);
    /// Ends a packing that runs, and refuses any other from now on: whoever asked gets a failure.
    void cancel();

  private:
    Cancellation packing_;
    Mutex mutex_;
    std::optional<files::PrivateFolder> folder_ MV_GUARDED_BY(mutex_);
    std::map<std::string, std::string> archives_ MV_GUARDED_BY(mutex_);
};

}  // namespace morvane::runtime
