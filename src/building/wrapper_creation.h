// building/wrapper_creation.h: from a port description to a wrapper that starts: one installation, with its entry,
// its lock, its cancellation and its end.
//
// One object serves one installation after the other; `host().creation` lets only one run in the whole
// application. A cancellation unwinds the stages as `Cancelled`, which only the entry operations catch.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "building/archives.h"
#include "building/build.h"
#include "building/port_checks.h"
#include "platform/result.h"
#include "ports/port_data.h"

namespace morvane {

class Wrapper;

class WrapperCreation : public Build {
  public:
    /// Called on the creation's thread: whether it failed, and the wrapper's path.
    using CompletionHandler = std::function<void(bool failed, const std::string& wrapper)>;

    using Build::Build;

    /// Any thread; asks, then goes on in the background, where this object is used until the handler has
    /// returned. Where nobody can be asked later, answers that will be missing end it first, as they do in
    /// `installCKI` with trust.
    /// The wrapper's place is asked for unless it is given.
    void createPortFromCKIFile(const std::string& file, CompletionHandler handler,
                               const std::optional<std::string>& place = {});
    /// 0 for success, -1 for failure. With `Replacing::yes` what lies in the wrapper's place steps aside
    /// while the wrapper is built, and is gone when it is there; after a failure it is put back, or the user
    /// is told where it is.
    int installCKI(const std::string& file, const std::string& wrapper, Trust trust,
                   Replacing replacing = Replacing::no);
    [[nodiscard]] bool shouldInstallPortData(const std::optional<Result<NSPortData>>& port, Trust trust);
    /// As `createPortFromCKIFile`. Asks the site for the engines, so better not on the main thread.
    /// Place and choices are asked for unless they are given.
    void createBlankPortWithCompletionHandler(CompletionHandler handler,
                                              const std::optional<BlankPort>& blank = {});
    int createBlankWrapperAtPath(const std::string& wrapper, const NSCustomPortView& view);

    /// Main thread: asks, then requests the cancellation. False when the user went on.
    bool cancelWrapperCreation();
    /// The same without the question; any thread, never blocks.
    void requestCancellation();
    /// What a cancelled creation is reported with.
    [[nodiscard]] static std::string cancellationReport();
    /// Ends the creation; false.
    bool errorWithMessage(const std::optional<std::string>& message);

  private:
    /// What an installation and a blank wrapper have in common: one at a time, the panel, the build, the
    /// failure ending, the cancellation. `portData` gives nothing after it has ended the creation with an
    /// error; `finish` runs after a successful build of a wrapper that was not there before.
    int runCreation(const std::string& wrapper, const std::function<std::optional<NSPortData>()>& portData,
                    const std::function<void()>& finish, Replacing replacing);
    /// What a build leaves of what lies in its place: of an unfinished wrapper of the same recipe, which the user is
    /// asked about, its progress. The record begins with it.
    enum class Kept { nothing, wrapper, progress };
    Kept whatIsKept(const Wrapper& wrapper, const NSPortData& port, Replacing replacing);
    /// False after it has ended the creation, because an answer will be missing.
    bool canAnswerFor(const std::optional<Result<NSPortData>>& port, const std::string& wrapper, Trust trust);
    /// After a cancellation: stops what runs in the wrapper, and removes what this run has made of it.
    void stopAndRemove(const std::string& wrapper) const;
};

}  // namespace morvane
