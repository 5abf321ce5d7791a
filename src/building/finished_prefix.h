// building/finished_prefix.h: finished prefixes, one for each engine, of which a new wrapper gets a copy. A worker, under
// the lock of the support folder.
//
// Creating a prefix takes Wine many seconds, and gives the same each time, but for a few identifiers. So the first
// one of an engine is kept in the store ("Prefixes"), and a new wrapper gets a copy with identifiers of its own. A kept
// one is known by everything that Wine makes it of: the engine's content, the Wine of this machine that a thin engine
// runs, the wrapper's own tool, the user, and the user's language; a change of any of these means another prefix. It
// appears in the store whole or not at all, is checked before each use, and goes when it is damaged.
#pragma once

#include <optional>
#include <string>

namespace morvane {

class Wrapper;

namespace building {

class FinishedPrefix {
  public:
    /// The one that fits the wrapper, which holds its engine already. Reads the engine from end to end.
    explicit FinishedPrefix(const Wrapper& wrapper);

    /// False, with nothing left in the wrapper, when none is kept, when it is damaged, when there is no room, or
    /// when the wrapper holds some of a prefix already. Throws `Cancelled`.
    [[nodiscard]] bool copyInto(const Wrapper& wrapper) const;
    /// Keeps what the wrapper's tool has just made; without room for it, nothing happens. Of the ones that are kept,
    /// those go that have not been used for the longest time. Throws `Cancelled`.
    void keep(const Wrapper& wrapper) const;

    /// So many are kept: engines that somebody uses in turn, not every one that ever was.
    static constexpr std::size_t mostKept = 4;

  private:
    std::string place_;  ///< in the store; empty when the engine cannot be read
};

/// By what a prefix is known: one text for one content, 64 digits. Nothing when the engine cannot be read.
[[nodiscard]] std::optional<std::string> markOfPrefix(const Wrapper& wrapper);

}  // namespace building
}  // namespace morvane
