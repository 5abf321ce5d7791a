// cli/commands.h: what each command does. Main thread; results are exit codes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "building/port_checks.h"
#include "cli/session.h"
#include "library/apps_questions.h"
#include "server/catalogue_export.h"
#include "server/catalogue_publish.h"

namespace morvane::cli {

enum class Waiting { no, yes };
enum class EngineKind { thin, full };

/// `install FILE.cki [--to PATH.app] [--locked LOCK]`. Empty texts for what is not given.
int install(Session& session, const std::string& file, const std::string& to, const std::string& lock);
/// `blank PATH.app --engine NAME`.
int blank(Session& session, const std::string& path, const NSCustomPortView& view);
/// `plan FILE.cki [--to PATH.app] [--answers] [--json]`. What `install` would do, or the command line that
/// does it without a question; an empty path leaves the place open.
enum class PlanAs { stages, commandLine };
int plan(Session& session, const std::string& file, const std::string& to, PlanAs as);
/// `run APP`. Starts a wrapper or a Custom EXE application of one and returns, or waits for its end. The exit
/// status of what ran, here and below wherever a command waits for the end of a program.
int run(Session& session, const std::string& app, Waiting waiting);
/// `debug APP`. Waits for its end and says where the logs are.
int debug(Session& session, const std::string& app);
/// `stop APP`.
int stop(Session& session, const std::string& app);
/// `stop --all`. Every wrapper of the library, and whatever else is Wine's; after a question.
int stopAll(Session& session);
enum class ProgramOutput { dropped, shown };
/// `exe APP FILE [--output] [-- ARGUMENT...]`. Runs a Windows program, of the wrapper or from outside, in the
/// wrapper.
int exe(Session& session, const std::string& app, const std::string& file,
        const std::vector<std::string>& arguments, ProgramOutput output);
/// `menu APP [ENTRY]`. Lists the wrapper's menu, or runs the entry of that title.
int menu(Session& session, const std::string& app, const std::string& entry);
/// `tool APP winecfg|regedit|taskmgr|cmd`.
int tool(Session& session, const std::string& app, const std::string& name);

/// What `properties` is asked to change; "on" and "off", "port", "full" and "windowed" as typed.
struct PropertyChanges {
    std::optional<std::string> name, version, icon, run, description, window, tray, helvetica, highQuality,
        functionKeys, before, sandbox;
    std::vector<std::string> variables;  ///< "KEY=VALUE"
    std::vector<std::string> unset;      ///< names of variables; they go before the others come
};
/// `properties APP`. Shows the properties of an item, after changing them where asked to.
int properties(Session& session, const std::string& app, const PropertyChanges& changes);
/// `settings list`.
int listSettings(Session& session);
/// `settings get KEY`.
int getSetting(Session& session, const std::string& key);
/// `settings set KEY VALUE...`.
int setSetting(Session& session, const std::string& key, const std::vector<std::string>& words);
/// What `feedback` was given; what is missing is asked for in a terminal.
struct FeedbackTexts {
    std::optional<std::string> name, mail, subject, text;
    bool describesComputer = false;
    bool addsBuildLog = false;
};
/// `feedback`.
int feedback(Session& session, const FeedbackTexts& texts);
/// `crash-report [FILE]`. Without a file, the last report that was not sent yet.
int crashReport(Session& session, const std::string& file);
/// `resources [--fix]`. What installing needs beside a port; failed while something is missing.
enum class FixResources { no, yes };
int resources(Session& session, FixResources fix);
/// `specs`.
int describeComputer(Session& session);
/// The pictures of `theme apply`; empty ones stay as they are.
struct ThemePictures {
    std::string window, action, bottom;
};
/// `theme apply`.
int applyTheme(Session& session, const ThemePictures& pictures);
/// `theme reset`.
int resetTheme(Session& session);

/// `cki show FILE [--json]`.
int showCki(Session& session, const std::string& file);
/// `cki make DESCRIPTION.plist OUT.cki`.
int makeCki(Session& session, const std::string& description, const std::string& out);
/// `cki sign FILE [--key PATH]`. Without the option, the author's own key, which the first use makes.
int signCki(Session& session, const std::string& file, const std::string& key);
/// `cki verify FILE [--author KEY]`. Failed unless it is signed, and by that author where one is named.
int verifyCki(Session& session, const std::string& file, const std::string& author);
/// `engine list`.
int listEngines(Session& session);
/// `engine prepare NAME`.
int prepareEngine(Session& session, const std::string& name);
/// `engine add-system [--full]`.
int addSystemEngine(Session& session, EngineKind kind);
/// `engine add PLACE [--name NAME]`. An engine of any build of Wine; prints its name.
int addEngine(Session& session, const std::string& place, const std::optional<std::string>& name);
/// `engine remove NAME [--in-use]`.
enum class InUse { kept, removed };
int removeEngine(Session& session, const std::string& name, InUse inUse);
/// `engine change APP NAME`.
int changeEngine(Session& session, const std::string& app, const std::string& name);
enum class BehindProxy { no, yes };
/// `serve --content DIR [--listen ADDRESS]`. Prints the address once it serves; ends when asked to.
int serve(Session& session, const std::string& folder, const std::string& address, BehindProxy behindProxy,
          std::int64_t votesPerHour);
/// `serve add DIR FILE.cki ...`. Prints the port's ID.
int publish(Session& session, const std::string& folder, const PortToPublish& port);
/// `serve remove DIR ID...`.
int withdraw(Session& session, const std::string& folder, const std::vector<std::string>& ids);
/// `serve export DIR OUT [--live ADDRESS]`.
int exportCatalogue(Session& session, const std::string& folder, const CatalogueExport& to);
/// `engine convert NAME`. Repacks a stored engine of an old generation; done when it needs none.
int convertEngine(Session& session, const std::string& name);
/// `wrapper update APP`. Done when the wrapper has the current master wrapper's version afterwards.
int updateWrapper(Session& session, const std::string& app);
/// `icon APP PICTURE`. Of a wrapper or of a Custom EXE application of one; a failure keeps the old icon.
int setIcon(Session& session, const std::string& app, const std::string& picture);
/// `disc list`. The hybrid discs, whose Windows part can be mounted.
int listDiscs(Session& session);
/// `disc mount [ID]`. Asks which one when the identifier is empty.
int mountDisc(Session& session, const std::string& identifier);

/// `open FILE-OR-LINK`. As if it had been opened with the application: a port description is built, a Windows
/// program runs in a wrapper, an application runs, a link shows a game and installs it.
int open(Session& session, const std::string& what);
/// `library list [WORDS]`. Places count from 1.
int listLibrary(Session& session, const std::vector<std::string>& words);
/// `library scan`. Finds again what was moved in the apps folders, adds what is new, and keeps the order.
int scanLibrary(Session& session);
/// `library add PATH...`.
int addToLibrary(Session& session, const std::vector<std::string>& paths);
/// `library remove PATH [--disk [--permanently]]`. From the disk only after a question, into the trash.
int removeFromLibrary(Session& session, const std::string& path, RemovedFrom from);
/// `library order name|size|none`. The order is kept.
int orderLibrary(Session& session, const std::string& order);
/// `library move FROM TO`. Places as listed.
int moveInLibrary(Session& session, std::size_t from, std::size_t to);
/// `library folders`.
int listAppsFolders(Session& session);
enum class FolderChange { add, remove };
/// `library folders add|remove PATH`.
int changeAppsFolders(Session& session, FolderChange change, const std::string& path);
/// `catalogue list [WORDS]`. By name.
int listCatalogue(Session& session, const std::vector<std::string>& words);
/// `catalogue show ID`.
int showCatalogueEntry(Session& session, std::int64_t id);
/// `catalogue install ID [--source S] [--to PATH]`. Empty texts leave the source and the place to questions.
int installFromCatalogue(Session& session, std::int64_t id, const std::string& source, const std::string& to);
/// `catalogue rate ID 1..5`. Opens the page on which the vote is given.
int rateCatalogueEntry(Session& session, std::int64_t id, int stars);
/// `catalogue rankings latest|popular|highrated`.
int listRankings(Session& session, const std::string& type);
/// `catalogue save ID --source S FILE`.
int savePortFile(Session& session, std::int64_t id, const std::string& source, const std::string& file);
/// `show APP`. What the page of an installed game says.
int showGame(Session& session, const std::string& app);
/// `play APP`. Offers to update an old wrapper first; returns when the game has ended.
int play(Session& session, const std::string& app);
/// `mod APP FILE... [--to FOLDER]`. Runs, unpacks or copies what a mod or patch consists of.
int installMod(Session& session, const std::string& app, const std::vector<std::string>& paths,
               const std::string& to);
/// `drive APP`. Where the wrapper's drive C: is.
int showDrive(Session& session, const std::string& app);
/// `logs APP`. The logs of the last run.
int listLogs(Session& session, const std::string& app);

}  // namespace morvane::cli
