#include <CLI/CLI.hpp>

#include "building/build_record.h"
#include "cli/arguments.h"
#include "foundation/localization.h"
#include "wrapper/wrapper.h"

namespace morvane::cli {

namespace {

/// A property list, also on a terminal: what is seen is what goes into the file.
int printLock(Session& session, const std::string& app) {
    const Wrapper wrapper = LibraryItem(expandedPath(app)).wrapper();
    if (!wrapper.exists()) return session.fail(localized("%@ is not a wrapper.", {wrapper.path()}));
    const auto record = BuildRecord::of(wrapper);
    if (!record) return session.fail(localized("%@ does not say what it was made of.", {wrapper.path()}));
    if (!record->isFinished) return session.fail(localized("%@ is not finished.", {wrapper.path()}));
    session.console().print(record->xml());
    return done;
}

}  // namespace

void addLockCommand(CLI::App& app, Parsed& parsed) {
    CLI::App* command =
        app.add_subcommand("lock", "what a wrapper was made of, to build it again from the same");
    command->add_option("APP", parsed.app, "the wrapper")->required();
    command->callback(
        [&] { parsed.command = [&](Session& session) { return printLock(session, parsed.app); }; });
}

}  // namespace morvane::cli
