// runtime/wine_session.h: Wine in one wrapper: environment, programs, waiting and stopping. One thread.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/private_folder.h"
#include "platform/result.h"
#include "runtime/child_process.h"
#include "runtime/sandbox_entry.h"
#include "runtime/wrapper_bundle.h"

namespace morvane::runtime {

/// What the user is told, one line each on standard error.
void tell(const std::string& line);

struct PrefixProcess {
    int number;
    std::string name;     ///< as Wine names it: "game.exe", at most 15 characters
    std::string command;  ///< the Windows command line
    bool isServer;        ///< the wineserver
    std::string prefix;   ///< its WINEPREFIX, as it was told
};
/// Wine's processes whose WINEPREFIX is, or leads to, this folder; not the scripts around them, which have it
/// too.
[[nodiscard]] std::vector<PrefixProcess> processesOf(const std::string& prefix);

enum class Display { shown, hidden };
/// How a stop ends the programs: the wineserver ends all of them at once and saves the registry, or the
/// wrapper's quit script decides.
enum class StopBy { server, quitScript };
/// What downloads components for the wrapper has a network, also where its programs have none.
enum class Downloads { no, yes };

class WineSession {
  public:
    /// `log` receives what Wine prints; empty: nowhere. What programs print goes there too, or on.
    WineSession(WrapperBundle bundle, std::string log, StopBy stopBy, ChildOutput output = ChildOutput::log,
                Downloads downloads = Downloads::no);
    ~WineSession();
    WineSession(const WineSession&) = delete;
    WineSession& operator=(const WineSession&) = delete;

    /// Variables for every program that is started from here on. What the session itself sets goes before.
    void addVariables(const std::map<std::string, std::string>& variables) { variables_ = variables; }

    /// What is missing before anything can run, in words for the user: of the engine, or the sandbox that the
    /// wrapper is to run in. Programs that run in another one are in the way.
    [[nodiscard]] Result<> usable() const;
    /// Of which more can be asked, before anything is started.
    [[nodiscard]] SandboxEntry& sandbox() { return sandbox_; }
    [[nodiscard]] const WrapperBundle& bundle() const { return bundle_; }
    /// True when programs of this wrapper were running already when the session began: they belong to another
    /// start, and nothing here waits for them or ends them.
    [[nodiscard]] bool joined() const { return joined_; }

    /// A path by which Wine can name the file: Windows has no name for a folder whose name holds a quote or a
    /// line break, so a file below one is reached through a link to its folder that ends with the session.
    [[nodiscard]] std::string nameablePath(const std::string& path);
    /// Runs Wine with the arguments and waits for its end. The exit status, 0 to 255; `stopped()` after a
    /// signal.
    /// `before` is a command of the user's that runs it, itself outside of the sandbox; empty: none.
    int wine(const std::vector<std::string>& arguments, const std::string& runFolder, Display display,
             const std::vector<std::string>& before = {});
    /// Runs another program in Wine's environment (the winetricks script).
    int program(const std::string& path, const std::vector<std::string>& arguments,
                const std::string& runFolder);
    /// Waits until every program of the prefix has ended and the registry is on disk. Nothing to do for a
    /// joined session.
    void waitForAll();
    /// The same where nobody has opened anything: once what Wine leaves running has nothing more to do, it is ended,
    /// seconds before it would end by itself.
    void waitUntilIdle();
    /// As `waitForAll` after an installer, which may have left a program running (a launcher, the game itself) that
    /// would never end by itself. As long as something in the prefix is still installing, it waits; once a
    /// whole `patience` has passed in which only programs of drive C ran and none came or went, they are
    /// asked to end, and are ended after `grace`.
    void waitForInstaller(std::chrono::milliseconds patience);
    /// Ends every program of the prefix now and waits until the registry is saved, a minute at most; after a signal
    /// that ended the session, until the next one.
    void stopNow();
    /// 128 plus the number of the signal that ended the session; 0 when none did.
    [[nodiscard]] int stopped() const { return stopped_; }

  private:
    [[nodiscard]] std::map<std::string, std::string> environment(Display display) const;
    int run(const std::string& path, const std::vector<std::string>& arguments, const std::string& runFolder,
            Display display, const std::vector<std::string>& before = {});
    /// The sandbox, also around what only asks the wineserver or ends it: outside there is another "/tmp".
    [[nodiscard]] Result<> enterSandbox(Downloads downloads);
    /// That of the wineserver that runs is this session's.
    [[nodiscard]] Result<> joinServer();
    /// In the sandbox, where there is one.
    [[nodiscard]] ChildRequest inside(ChildRequest request) const;
    /// Ends with the child, or with everything after a signal. False after a signal.
    bool waitFor(Child& child);
    int quietly(const std::string& path, const std::vector<std::string>& arguments,
                std::optional<std::chrono::milliseconds> limit);
    /// Whether nothing is left to wait for: the wineserver has ended within the time, or everything was ended after a
    /// signal or because it cannot be waited for.
    bool isOverWithin(std::chrono::milliseconds patience);
    void startServer();
    /// The prefix, or a link to it that Wine can name.
    [[nodiscard]] std::string nameOfPrefix();
    /// The target itself where no link can be made.
    [[nodiscard]] std::string linkTo(const std::string& target, const std::string& name);
    void stopAsAsked();
    [[nodiscard]] std::string server() const { return bundle_.wrapper.engineBin() + "/wineserver"; }

    WrapperBundle bundle_;
    std::string log_;
    SandboxEntry sandbox_;
    Result<> sandboxed_;  ///< what was in the way
    StopBy stopBy_;
    ChildOutput output_;
    StopSignals signals_;
    std::map<std::string, std::string> variables_;       ///< the user's, added to our own environment
    std::string prefix_;                                 ///< as Wine is told
    std::vector<std::string> links_;                     ///< to folders of programs
    std::optional<files::PrivateFolder> linksInShared_;  ///< where no folder of our own can hold them
    bool joined_ = false;
    int stopped_ = 0;
};

}  // namespace morvane::runtime
