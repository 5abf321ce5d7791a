#include "platform/older_library.h"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/descriptor.h"
#include "platform/files.h"
#include "platform/ownership.h"

namespace morvane {

namespace {

constexpr std::string_view arriving = ".Library-arriving";

/// What an older program has made in a `Library`. One of the first three tells that there was one.
constexpr std::array<std::string_view, 6> pieces{
    "Preferences/app.morvane.plist",      "Application Support/Morvane",
    "Application Support/Caskery",        "Logs/Morvane",
    "Preferences/app.morvane.plist.lock", "Logs/DiagnosticReports"};
constexpr std::array<std::string_view, 3> shelves{"Preferences", "Application Support", "Logs"};
constexpr std::size_t tellingPieces = 3;

bool isThere(const std::string& path) {
    return files::kindOf(path) != files::Kind::none;
}

bool isOurs(const std::string& library) {
    if (files::kindBehind(library) != files::Kind::folder || !files::isOwn(library)) return false;
    return std::any_of(pieces.begin(), pieces.begin() + tellingPieces,
                       [&](std::string_view piece) { return isThere(files::join(library, piece)); });
}

/// Whether nothing in it is anybody else's.
bool holdsOursOnly(const std::string& library) {
    if (files::kindOf(library) != files::Kind::folder) return false;
    const auto names = files::list(library);
    return names && std::ranges::all_of(*names, [&](const std::string& shelf) {
               if (std::ranges::find(shelves, shelf) == shelves.end()) return false;
               const auto held = files::list(files::join(library, shelf));
               return held && std::ranges::all_of(*held, [&](const std::string& name) {
                          return std::ranges::find(pieces, files::join(shelf, name)) != pieces.end();
                      });
           });
}

Result<> movePiece(const std::string& from, const std::string& to, std::string_view piece) {
    const std::string source = files::join(from, piece), place = files::join(to, piece);
    if (!isThere(source) || isThere(place)) return {};
    if (const auto made = files::createFolder(files::parent(place), true); !made) return made;
    return files::move(source, place);
}

/// Piece by piece into a passing folder, which becomes the library when it holds them all.
Result<> movePieces(const std::string& older, const std::string& library) {
    const std::string passing = files::join(files::parent(library), arriving);
    Result<> done;
    for (const std::string_view piece : pieces) {
        if (done) done = movePiece(older, passing, piece);
    }
    if (done) done = files::move(passing, library);
    if (done) return {};
    for (const std::string_view piece : pieces) static_cast<void>(movePiece(passing, older, piece));
    if (holdsOursOnly(passing) && !isOurs(passing)) static_cast<void>(files::remove(passing));
    return done;
}

void removeIfEmpty(const std::string& folder) {
    const auto names = files::list(folder);
    if (names && names->empty()) static_cast<void>(files::remove(folder));
}

enum class TakenOver { no, yes };
Result<TakenOver> takeOver(const std::string& older, const std::string& library) {
    const std::string folder = files::parent(library), passing = files::join(folder, arriving);
    if (isThere(library) || (!isOurs(older) && !isThere(passing))) return TakenOver::no;
    if (const auto made = files::createFolder(folder, true); !made) return made.error();
    // Another start does the same; when it has ended there is nothing left to do.
    const Descriptor lock(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (lock.valid()) ::flock(lock.get(), LOCK_EX);
    if (isThere(library)) return TakenOver::no;
    const bool isWhole = !isThere(passing) && holdsOursOnly(older);
    if (const auto moved = isWhole ? files::move(older, library) : movePieces(older, library); !moved)
        return moved.error();
    for (const std::string_view shelf : shelves) removeIfEmpty(files::join(older, shelf));
    removeIfEmpty(older);
    return TakenOver::yes;
}

bool canBeWritten(std::string folder) {
    while (!isThere(folder) && folder != "/") folder = files::parent(folder);
    return files::isWritable(folder);
}

}  // namespace

std::vector<std::string> settleLibrary(Folders& folders) {
    std::vector<std::string> lines;
    if (folders.library != folders.home) {
        const std::string older = folders.home + "/Library", library = folders.library + "/Library";
        const auto taken = takeOver(older, library);
        if (!taken) {
            lines.push_back("What Morvane keeps in " + older + " could not be moved to " + library + ": " +
                            taken.error().message());
            if (isOurs(older)) folders.library = folders.home;
        } else if (*taken == TakenOver::yes) {
            lines.push_back("What Morvane kept in " + older + " lies in " + library + " now.");
        }
    }
    if (!canBeWritten(folders.library)) {
        lines.push_back(folders.library +
                        " can't be written: settings, the library and engines can't be kept.");
    }
    return lines;
}

}  // namespace morvane
