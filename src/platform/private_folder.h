// platform/private_folder.h: folders for what passes, which only this user can enter. Any thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/files.h"
#include "platform/result.h"

namespace morvane::files {

/// Makes the folder (0700) with its parents when it is missing. It must be this user's own, and is closed to
/// everybody else; a link, or what belongs to somebody else, is refused.
[[nodiscard]] Result<> makePrivate(const std::string& path);

/// A fresh folder (0700) under a name that nobody can guess, removed with the object and all that is in it. Its
/// lock tells other processes that somebody still needs it.
class PrivateFolder {
  public:
    /// Inside the folder, which `makePrivate` makes.
    [[nodiscard]] static Result<PrivateFolder> make(const std::string& folder);
    /// For what is going to be moved into that folder: inside `own` where both lie on one file system, else
    /// hidden in the folder itself, so that the move is a rename.
    [[nodiscard]] static Result<PrivateFolder> makeFor(const std::string& destination,
                                                       const std::string& own);
    /// Inside a folder where everybody may write.
    [[nodiscard]] static Result<PrivateFolder> makeInShared(const std::string& folder);

    PrivateFolder(PrivateFolder&&) noexcept;
    PrivateFolder& operator=(PrivateFolder&&) noexcept;
    ~PrivateFolder();

    [[nodiscard]] const std::string& path() const;
    /// Leaves it to the user, who finds it at the path that is given.
    [[nodiscard]] Result<std::string> keep();

    /// Whether that name is one of ours.
    [[nodiscard]] static bool isOne(std::string_view name);
    /// Removes what killed processes of this user have left in the folder. Harmless when it is missing.
    static void removeLeftovers(const std::string& folder);

  private:
    struct State;
    explicit PrivateFolder(std::unique_ptr<State> state);
    [[nodiscard]] static Result<PrivateFolder> makeIn(const std::string& folder, std::string_view beginning);
    std::unique_ptr<State> state_;
};

}  // namespace morvane::files
