// building/verb_script.h: reading the Winetricks script: which files a component will download. Any thread,
// no state.
//
// The script is a POSIX shell program of functions; it is read as text, never run here. Everything in it
// comes from outside: names, links and sums are as they stand there, and whoever makes paths of them or
// follows them checks them first (building/winetricks_files.h). The time that reading takes grows with the
// script's length, whatever it holds.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace morvane::verb_script {

/// One entry of a port's list of Windows components.
struct Request {
    enum class Kind { component, engine };
    Kind kind = Kind::component;
    std::string name;                ///< of the component, or of the engine
    std::vector<std::string> words;  ///< of an engine request: its name, and a link in quotes
    bool applies = true;             ///< whether its graphics conditions hold on this machine
};
[[nodiscard]] Request requestOf(const std::string& entry, const std::optional<std::string>& graphicCardType);

/// A file that the script will want in its download cache.
struct Download {
    std::string folder;    ///< of the cache: the component's name, or what a helper names
    std::string file;      ///< its name there
    std::string link;      ///< as the script has it, variables replaced and quotes removed
    std::string checksum;  ///< as the script has it; may be empty
};

/// Word 1 to 3 of a cleaned line.
[[nodiscard]] std::optional<std::string> getFromString(std::string_view line, int wordNumber);
/// The text without its first and its last character; nothing when it has fewer than two.
[[nodiscard]] std::optional<std::string> withoutEnds(std::string_view text);
/// The text of a component's definition, or nothing when the script does not define it.
[[nodiscard]] std::optional<std::string> textOfComponent(std::string_view script,
                                                         const std::string& component);
/// The text of a helper function's definition.
[[nodiscard]] std::optional<std::string> textOfHelper(std::string_view script, const std::string& helper);
/// The downloads of a component's text, in its order.
[[nodiscard]] std::vector<Download> ordinaryDownloads(std::string_view text, const std::string& component);
/// The first manual download of a component's text. The catalogue server has `catalogueManualFile`; any other
/// is fetched by the user.
[[nodiscard]] std::optional<Download> manualDownload(std::string_view text, const std::string& component);
/// The downloads of a helper's text.
[[nodiscard]] std::vector<Download> helperDownloads(std::string_view text);
/// The file of the component that the catalogue server supplies; nothing for the others.
[[nodiscard]] std::optional<std::string> catalogueFileOf(const std::string& component);
/// The one manual download that the catalogue server supplies, always for this component.
inline constexpr std::string_view catalogueManualFile = "gacutil-net40.tar.bz2";
inline constexpr const char* catalogueManualComponent = "dotnet40";

/// What is visited on the way through a component, in the order in which files are fetched: what a component
/// or helper calls comes before itself. Each name is visited once for one `visited`: components and helpers
/// may call each other in circles. Functions may be absent.
struct Visitor {
    /// Nothing else of such a component is visited, and it need not be defined.
    std::function<void(const std::string& component, const std::string& file)> catalogueFile;
    /// Its own downloads are `helperDownloads(text)`.
    std::function<void(const std::string& helper, const std::string& text)> helper;
    /// Its own downloads are `manualDownload(text, component)`, then `ordinaryDownloads(text, component)`.
    std::function<void(const std::string& component, const std::string& text)> component;
};
void visit(std::string_view script, const std::string& component, std::set<std::string>& visited,
           const Visitor& visitor);
/// The same from a helper on.
void visitHelper(std::string_view script, const std::string& helper, std::set<std::string>& visited,
                 const Visitor& visitor);

}  // namespace morvane::verb_script
