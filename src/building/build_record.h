// building/build_record.h: what a wrapper was made of, and how far its build has come: a property list in the wrapper,
// "mv_build.plist". Of a finished wrapper it is the lock of another build. Any thread.
//
// Keys: "Version" (1), "Port" (SHA-256 of the recipe), "Master", "Engine", "Components" (texts), "Stages" (names of those
// that are done), "Finished", "Built Over" (booleans), "Files" (dictionaries of "Link", "Name", "Size", "SHA-256").
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/result.h"
#include "platform/value.h"

namespace morvane {

class Wrapper;

/// A file that the build has used.
struct UsedFile {
    std::string link;  ///< empty for one that was in the engine store, or that the user has supplied
    std::string name;
    std::uint64_t size = 0;  ///< bytes
    std::string sum;         ///< SHA-256, hexadecimal

    /// Nothing when it cannot be read.
    [[nodiscard]] static std::optional<UsedFile> at(const std::string& path, const std::string& link);
    bool operator==(const UsedFile&) const = default;
};

struct BuildRecord {
    std::string port, master, engine;
    std::vector<std::string> components, stages;
    std::vector<UsedFile> files;
    bool isFinished = false;
    bool isBuiltOver = false;  ///< into a wrapper that was there before

    /// Of the wrapper; nothing without one, or with one that cannot be read.
    [[nodiscard]] static std::optional<BuildRecord> of(const Wrapper& wrapper);
    /// Of a lock file: what `xml` has given for a finished wrapper.
    [[nodiscard]] static Result<BuildRecord> readLock(const std::string& path);
    [[nodiscard]] std::string xml() const;
    [[nodiscard]] Result<> writeTo(const Wrapper& wrapper) const;

    /// In place of what was known of the same link, or of the same name without one.
    void add(const UsedFile& file);
    void addComponent(const std::string& component);
    /// Whether the file is the one of this lock; the failure names it.
    [[nodiscard]] Result<> allows(const UsedFile& file) const;
};

/// Whether a build of the wrapper has begun and not come to its end.
[[nodiscard]] bool isUnfinished(const Wrapper& wrapper);

}  // namespace morvane
