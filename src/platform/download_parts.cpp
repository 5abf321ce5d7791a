#include "platform/download_parts.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <sstream>
#include <system_error>

#include "platform/descriptor.h"
#include "platform/digest.h"
#include "platform/files.h"
#include "platform/free_room.h"
#include "platform/passing_file.h"

namespace morvane {

namespace {

constexpr std::string_view bodyEnding = ".part", noteEnding = ".note";
/// So many transfers of one link may run at once with a part each; more of them keep none.
constexpr int mostSlots = 8;
constexpr int partialAnswer = 206, unchangedAnswer = 304, firstFailing = 400, badRange = 416;
/// A file that was changed in the second of the answer may change again in it.
constexpr std::time_t surelyPast = 1;

std::string stemOf(const std::string& link) {
    return digest::sha256(link).substr(0, 32) + "-";
}

std::int64_t changeTimeOf(const struct stat& status) {
    constexpr std::int64_t second = 1'000'000'000;
    return status.st_mtim.tv_sec * second + status.st_mtim.tv_nsec;
}

template <class Number>
std::optional<Number> numberOf(std::string_view text) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
    return number;
}

/// What is known of a part, in a file beside it.
struct Note {
    std::string link;
    std::string tag, modified;  ///< the server's marks; at most one
    std::optional<std::uint64_t> length;
    std::optional<std::int64_t> placed;  ///< when a whole one was last written to

    [[nodiscard]] bool hasMark() const { return !tag.empty() || !modified.empty(); }
    [[nodiscard]] std::string text() const {
        std::string text = "link " + link + "\ntag " + tag + "\nmodified " + modified + "\n";
        if (length) text += "length " + std::to_string(*length) + "\n";
        if (placed) text += "placed " + std::to_string(*placed) + "\n";
        return text;
    }
    static Note read(const std::string& path) {
        Note note;
        std::istringstream lines(files::read(path).value_or(""));
        for (std::string line; std::getline(lines, line);) {
            const std::string key = line.substr(0, line.find(' '));
            const std::string value = line.substr(std::min(key.size() + 1, line.size()));
            if (key == "link") note.link = value;
            if (key == "tag") note.tag = value;
            if (key == "modified") note.modified = value;
            if (key == "length") note.length = numberOf<std::uint64_t>(value);
            if (key == "placed") note.placed = numberOf<std::int64_t>(value);
        }
        return note;
    }
    static Note of(const std::string& link, const HttpHead& head) {
        Note note{.link = link, .tag = {}, .modified = {}, .length = head.length, .placed = {}};
        if (head.entityTag.starts_with('"')) {
            note.tag = head.entityTag;
        } else if (const std::time_t then = ::curl_getdate(head.lastModified.c_str(), nullptr); then != -1) {
            const std::time_t now = ::curl_getdate(head.date.c_str(), nullptr);
            if (now != -1 && now - then > surelyPast) note.modified = head.lastModified;
        }
        return note;
    }
};

/// "bytes 10-19/20"; the length may be a "*".
struct ContentRange {
    std::uint64_t first = 0;
    std::optional<std::uint64_t> length;

    static std::optional<ContentRange> read(std::string_view text) {
        if (!text.starts_with("bytes ")) return std::nullopt;
        text.remove_prefix(6);
        const std::size_t dash = text.find('-'), slash = text.find('/');
        if (dash == std::string_view::npos || slash == std::string_view::npos) return std::nullopt;
        const auto first = numberOf<std::uint64_t>(text.substr(0, dash));
        if (!first) return std::nullopt;
        return ContentRange{*first, numberOf<std::uint64_t>(text.substr(slash + 1))};
    }
};

/// The folder, if it is this user's own, and nobody else's to enter. Not valid, with `errno` set, otherwise.
Descriptor privateFolder(const std::string& path) {
    Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder.valid() || ::fstat(folder.get(), &status) != 0) return {};
    if (status.st_uid == ::geteuid() && (status.st_mode & 077u) == 0) return folder;
    errno = EACCES;
    return {};
}

Descriptor madeFolder(const std::string& path) {
    static_cast<void>(files::createFolder(files::parent(path), true));
    ::mkdir(path.c_str(), 0700);
    return privateFolder(path);
}

/// Opens the file and takes its lock. Not valid when somebody else holds it, or it has gone meanwhile.
Descriptor lockedFile(int folder, const std::string& name, int flags) {
    Descriptor file(
        ::openat(folder, name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | flags, 0666));
    struct stat own {
    }, named{};
    const bool isOurs = file.valid() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0 &&
                        ::fstat(file.get(), &own) == 0 && S_ISREG(own.st_mode) &&
                        ::fstatat(folder, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
                        own.st_ino == named.st_ino && own.st_dev == named.st_dev;
    if (!isOurs) file.reset();
    return file;
}

void removePart(int folder, const std::string& stem) {
    ::unlinkat(folder, (stem + std::string(noteEnding)).c_str(), 0);
    ::unlinkat(folder, (stem + std::string(bodyEnding)).c_str(), 0);
}

}  // namespace

struct DownloadPart::State {
    State(std::string folderPath, std::string itsLink)
        : path(std::move(folderPath)), link(std::move(itsLink)) {}
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    const std::string path, link;
    Descriptor folder, file;
    std::string stem;  ///< of both names; empty when there is no file
    Note note;
    std::uint64_t size = 0;
    std::optional<files::FreeRoom> room;
    bool asksForRest = false;  ///< the headers have gone out
    bool mustStartAnew = false;
    bool isPlaced = false;
    Result<> soFar;

    [[nodiscard]] std::string bodyName() const { return stem + std::string(bodyEnding); }
    [[nodiscard]] std::string notePath() const { return files::join(path, stem + std::string(noteEnding)); }
    [[nodiscard]] Failure failure() const {
        return {.what = path, .why = std::generic_category().message(errno)};
    }
    [[nodiscard]] bool isWhole() const { return note.length && size == *note.length && size > 0; }

    void takeUp();
    void drop();
    /// These give false with `errno` set.
    [[nodiscard]] bool create();
    [[nodiscard]] bool createFile();
    [[nodiscard]] bool makeRoom();
    [[nodiscard]] Result<> copyTo(const std::string& place);
    [[nodiscard]] Result<> shareWith(const std::string& place);
};

DownloadPart::State::~State() {
    if (stem.empty() || isPlaced) return;
    if (!soFar || size == 0 || !note.hasMark()) drop();
}

/// Looks for a part of the link that nobody fills, and that a transfer can go on with.
void DownloadPart::State::takeUp() {
    folder = privateFolder(path);
    if (!folder.valid()) return;
    for (int slot = 0; slot < mostSlots; ++slot) {
        stem = stemOf(link) + std::to_string(slot);
        file = lockedFile(folder.get(), bodyName(), 0);
        struct stat status {};
        if (!file.valid() || ::fstat(file.get(), &status) != 0) continue;
        note = Note::read(notePath());
        size = static_cast<std::uint64_t>(status.st_size);
        // One that somebody else has a hand on must not be added to; a whole one must be as it was.
        const bool isUntouched = isWhole() ? !note.placed || note.placed == changeTimeOf(status)
                                           : status.st_nlink == 1 && !note.placed;
        const bool isTooLong = note.length && size > *note.length;
        if (note.link == link && note.hasMark() && size > 0 && isUntouched && !isTooLong) return;
        drop();
    }
    stem.clear();
}

void DownloadPart::State::drop() {
    if (!stem.empty()) removePart(folder.get(), stem);
    ::rmdir(path.c_str());  // stays as long as it holds something
    file.reset();
    stem.clear();
    note = {};
    size = 0;
    room.reset();
}

bool DownloadPart::State::create() {
    // The folder goes with the last part in it, also while others begin theirs.
    constexpr int mostTries = 20;
    bool isMade = false;
    for (int tries = 0; !isMade && tries < mostTries; ++tries) {
        if (!folder.valid()) folder = madeFolder(path);
        isMade = folder.valid() && createFile();
        if (isMade || errno != ENOENT) break;
        folder.reset();
    }
    if (!isMade) {
        stem.clear();
        return false;
    }
    // Without a note nobody goes on with it.
    if (note.hasMark()) static_cast<void>(files::write(notePath(), note.text(), files::Atomically::yes));
    return makeRoom();
}

bool DownloadPart::State::createFile() {
    for (int slot = 0; slot < mostSlots && !file.valid(); ++slot) {
        stem = stemOf(link) + std::to_string(slot);
        file = lockedFile(folder.get(), bodyName(), O_CREAT | O_EXCL);
    }
    if (file.valid()) return true;
    // Every place is taken, or files can't be locked: a name that nobody looks for.
    stem = stemOf(link) + randomDigits();
    file =
        Descriptor(::openat(folder.get(), bodyName().c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    return file.valid();
}

bool DownloadPart::State::makeRoom() {
    const auto missing =
        note.length ? std::optional(*note.length - std::min(size, *note.length)) : std::nullopt;
    room.emplace(folder.get(), missing);
    if (!room->fits()) {
        download_parts::prune(path, 0);
        room.emplace(folder.get(), missing);
    }
    if (room->fits()) return true;
    errno = ENOSPC;
    return false;
}

Result<> DownloadPart::State::copyTo(const std::string& place) {
    files::PassingFile copy(place);
    std::string block(std::size_t{1} << 20, '\0');
    for (std::uint64_t at = 0; at < size;) {
        const ssize_t count = ::pread(file.get(), block.data(), block.size(), static_cast<off_t>(at));
        if (count <= 0) return Failure{path, count == 0 ? "The part has been cut." : failure().why};
        if (auto added = copy.append({block.data(), static_cast<std::size_t>(count)}, size); !added)
            return added;
        at += static_cast<std::uint64_t>(count);
    }
    return copy.putInPlace();
}

/// The file itself under both names: nothing is copied.
Result<> DownloadPart::State::shareWith(const std::string& place) {
    // A name that only this part has: what lies there already is what a killed process has left of it.
    const std::string passing = files::join(files::parent(place), ".morvane-" + bodyName());
    ::unlink(passing.c_str());
    if (::linkat(folder.get(), bodyName().c_str(), AT_FDCWD, passing.c_str(), 0) != 0) return failure();
    if (::rename(passing.c_str(), place.c_str()) == 0) return {};
    const Failure why = failure();
    ::unlink(passing.c_str());
    return why;
}

DownloadPart::DownloadPart(const std::string& folder, std::string link)
    : state_(std::make_unique<State>(folder, std::move(link))) {
    // A link that would not fit into the note's line is no link.
    if (state_->link.find_first_of(std::string_view("\0\n\r", 3)) == std::string::npos) state_->takeUp();
    download_parts::prune(folder);
}
DownloadPart::~DownloadPart() = default;
DownloadPart::DownloadPart(DownloadPart&&) noexcept = default;
DownloadPart& DownloadPart::operator=(DownloadPart&&) noexcept = default;

std::vector<std::string> DownloadPart::requestHeaders() const {
    State& state = *state_;
    if (state.size == 0 || !state.note.hasMark()) return {};
    state.asksForRest = true;
    const Note& note = state.note;
    if (state.isWhole()) {
        return {note.tag.empty() ? "If-Modified-Since: " + note.modified : "If-None-Match: " + note.tag};
    }
    return {"Range: bytes=" + std::to_string(state.size) + "-",
            "If-Range: " + (note.tag.empty() ? note.modified : note.tag)};
}

Result<> DownloadPart::begin(const HttpHead& head) {
    State& state = *state_;
    const bool asked = std::exchange(state.asksForRest, false);
    const auto refuse = [&state] {
        state.mustStartAnew = true;
        return Failure{"", "The server's file is another one than before."};
    };
    if (asked && head.status == badRange) return refuse();
    if (head.status >= firstFailing) return {};
    if (asked && head.status == unchangedAnswer && state.isWhole()) return {};
    if (head.status == partialAnswer || head.status == unchangedAnswer) {
        const auto range = ContentRange::read(head.contentRange);
        const bool fits =
            asked && head.status == partialAnswer && range && range->first == state.size &&
            (!range->length || !state.note.length || range->length == state.note.length) &&
            (head.entityTag.empty() || state.note.tag.empty() || head.entityTag == state.note.tag);
        if (!fits) return refuse();
        if (!state.note.length) state.note.length = range->length;
        return {};
    }
    state.drop();
    state.note = Note::of(state.link, head);
    return {};
}

bool DownloadPart::mustStartAnew() const {
    return state_->mustStartAnew;
}

void DownloadPart::startAnew() {
    state_->drop();
    state_->mustStartAnew = false;
}

Result<> DownloadPart::append(std::string_view bytes) {
    State& state = *state_;
    if (!state.soFar) return state.soFar;
    const bool isReady = state.file.valid() ? state.room || state.makeRoom() : state.create();
    const auto hasRoom = [&state] {
        if (state.room->isLeft(state.folder.get(), state.size)) return true;
        errno = ENOSPC;
        return false;
    };
    // The end of what is there is where it was when it was taken up.
    if (!isReady || !hasRoom() || ::lseek(state.file.get(), static_cast<off_t>(state.size), SEEK_SET) < 0 ||
        !writeAll(state.file.get(), bytes)) {
        state.soFar = state.failure();
        return state.soFar;
    }
    state.size += bytes.size();
    return {};
}

const Result<>& DownloadPart::soFar() const {
    return state_->soFar;
}

bool DownloadPart::isKnownAgain() const {
    return state_->note.hasMark();
}

std::uint64_t DownloadPart::size() const {
    return state_->size;
}

std::optional<std::uint64_t> DownloadPart::wholeSize() const {
    return state_->note.length;
}

Result<> DownloadPart::putAt(const std::string& place, Keep keep) {
    State& state = *state_;
    if (!state.soFar) return state.soFar;
    struct stat own {
    }, old{};
    const bool isNamed = place.find('\0') == std::string::npos;
    errno = isNamed ? ENOENT : EINVAL;
    if (!isNamed || !state.file.valid() || ::fstat(state.file.get(), &own) != 0) return state.failure();
    const bool isKept = keep == Keep::untilForgotten && state.isWhole() && state.note.hasMark();
    // Two places never share a file: the one would change with the other.
    const bool isShared = own.st_nlink > 1;
    const bool replaces = ::lstat(place.c_str(), &old) == 0 && S_ISREG(old.st_mode);
    if (replaces && !isShared) ::fchmod(state.file.get(), old.st_mode & 0777u);
    if (isShared || !state.shareWith(place)) state.soFar = state.copyTo(place);
    if (!state.soFar) return state.soFar;
    state.isPlaced = isKept;
    if (isKept) {
        state.note.placed = changeTimeOf(own);
        static_cast<void>(files::write(state.notePath(), state.note.text(), files::Atomically::yes));
    } else {
        state.drop();
    }
    return {};
}

namespace download_parts {

void forget(const std::string& folder, const std::string& link) {
    const Descriptor opened = privateFolder(folder);
    if (!opened.valid()) return;
    for (int slot = 0; slot < mostSlots; ++slot) {
        const std::string stem = stemOf(link) + std::to_string(slot);
        if (lockedFile(opened.get(), stem + std::string(bodyEnding), 0).valid())
            removePart(opened.get(), stem);
    }
}

void prune(const std::string& folder, std::uint64_t mostBytes) {
    const Descriptor opened = privateFolder(folder);
    const auto names = opened.valid() ? files::list(folder) : Result<std::vector<std::string>>();
    if (!opened.valid() || !names) return;
    struct Found {
        std::time_t changed;
        std::uint64_t bytes;
        std::string stem;
        Descriptor file;  // locked: nobody begins to fill it meanwhile
    };
    std::vector<Found> parts;
    std::uint64_t sum = 0;
    for (const std::string& name : *names) {
        const bool isNote = name.ends_with(noteEnding);
        if (!isNote && !name.ends_with(bodyEnding)) continue;
        const std::string stem = files::withoutExtension(name);
        struct stat status {};
        if (isNote) {
            // Its body has gone.
            const std::string body = stem + std::string(bodyEnding);
            if (::fstatat(opened.get(), body.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
                ::unlinkat(opened.get(), name.c_str(), 0);
            continue;
        }
        Descriptor file = lockedFile(opened.get(), name, 0);
        if (!file.valid() || ::fstat(file.get(), &status) != 0) continue;
        const auto bytes = static_cast<std::uint64_t>(status.st_size);
        sum += bytes;
        parts.push_back({status.st_mtime, bytes, stem, std::move(file)});
    }
    std::ranges::sort(parts, {}, &Found::changed);
    const std::time_t oldest = std::time(nullptr) - std::chrono::seconds(longestKept).count();
    for (const Found& part : parts) {
        if (part.changed >= oldest && sum <= mostBytes) continue;
        removePart(opened.get(), part.stem);
        sum -= part.bytes;
    }
    ::rmdir(folder.c_str());
}

}  // namespace download_parts
}  // namespace morvane
