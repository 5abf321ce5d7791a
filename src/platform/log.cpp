#include "platform/log.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <utility>

#include "platform/descriptor.h"
#include "platform/files.h"
#include "platform/iso_time.h"

namespace morvane {

namespace {

constexpr const char* nameOf(Log::Level level) {
    switch (level) {
        case Log::Level::detail:
            return "detail";
        case Log::Level::info:
            return "info";
        case Log::Level::warning:
            return "warning";
    }
    return "";
}

std::string oneLine(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string line;
    for (const char character : text.substr(0, Log::longestText)) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7F) {
            line += {'\\', 'x', digits[byte >> 4U], digits[byte & 0xFU]};
        } else {
            line += character;
        }
    }
    return line;
}

/// The files move one place up; the last one goes.
void rotate(const std::string& path) {
    for (int place = Log::keptFiles; place > 0; --place) {
        const std::string from = place == 1 ? path : path + "." + std::to_string(place - 1);
        std::rename(from.c_str(), (path + "." + std::to_string(place)).c_str());
    }
}

Descriptor opened(const std::string& path) {
    return Descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600));
}

}  // namespace

Log::Log(std::string path) : path_(std::move(path)) {}

void Log::mirrorTo(std::function<void(const std::string& line)> mirror) {
    MutexLock lock(mutex_);
    mirror_ = std::move(mirror);
}

void Log::write(Level level, std::string_view text) {
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    const std::string line =
        isoText(now) + " " + nameOf(level) + " " + std::to_string(::getpid()) + " " + oneLine(text);
    MutexLock lock(mutex_);
    append(line + "\n");
    if (mirror_) mirror_(line);
}

void Log::append(const std::string& line) {
    Descriptor file = opened(path_);
    if (!file.valid()) {
        if (!files::createFolder(files::parent(path_), true)) return;
        file = opened(path_);
        if (!file.valid()) return;
    }
    // Held while the line is written: another process may be about to rotate.
    if (::flock(file.get(), LOCK_EX) != 0) return;
    struct stat state = {};
    struct stat there = {};
    if (::fstat(file.get(), &state) != 0) return;
    const bool isOurs = ::stat(path_.c_str(), &there) == 0 && there.st_ino == state.st_ino;
    if (isOurs && static_cast<std::uint64_t>(state.st_size) + line.size() > largestFile) rotate(path_);
    if (!isOurs || static_cast<std::uint64_t>(state.st_size) + line.size() > largestFile) {
        file = opened(path_);
        if (!file.valid()) return;
    }
    // In one piece, so that entries of several processes never mix.
    static_cast<void>(!::write(file.get(), line.data(), line.size()));
}

}  // namespace morvane
