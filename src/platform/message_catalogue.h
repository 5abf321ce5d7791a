// platform/message_catalogue.h: the texts of one language, from a GNU gettext catalogue (`.mo`). Any thread once built.
//
// Read by ourselves: the C library's own reader translates only after `setlocale`, which is one state for the whole
// process, wants the locale generated on the machine, and brings no way to ask for the English text again.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace morvane {

class MessageCatalogue {
  public:
    /// No texts at all: everything is shown in English.
    MessageCatalogue() = default;
    /// Nothing when the bytes are damaged, not in UTF-8, or hold a plural rule that makes no sense.
    [[nodiscard]] static std::optional<MessageCatalogue> read(std::string_view bytes);
    /// `<folder>/<language>/LC_MESSAGES/morvane.mo` of the first language that has a sound one; empty otherwise.
    [[nodiscard]] static MessageCatalogue find(const std::string& folder,
                                               const std::vector<std::string>& languages);

    /// That of this user, in the folder of texts beside the resources.
    [[nodiscard]] static MessageCatalogue ofUser(const std::string& resources);

    /// The text of a key; nothing when it isn't translated. Without a context, that is "".
    [[nodiscard]] std::optional<std::string_view> text(std::string_view context, std::string_view key) const;
    /// The form for that many of the key, which is the singular.
    [[nodiscard]] std::optional<std::string_view> text(std::string_view key, std::uint64_t count) const;

    /// English forms and forms of this language; a text without plural has one of each.
    struct Entry {
        std::vector<std::string> english, forms;
    };
    /// By context, "\4" and key, or by the key alone.
    using Entries = std::map<std::string, Entry, std::less<>>;
    [[nodiscard]] const Entries& entries() const { return entries_; }
    [[nodiscard]] bool writesRightToLeft() const { return rightToLeft_; }

  private:
    Entries entries_;
    std::string pluralRule_;  ///< empty: "n != 1"
    bool rightToLeft_ = false;
};

/// The languages of the user, best first, as "pt_BR", "pt": of `LANGUAGE`, which counts unless the locale (`LC_ALL`,
/// `LC_MESSAGES`, `LANG`) is that of C, then of the locale itself. The list ends before English.
[[nodiscard]] std::vector<std::string> languagesOfUser();

/// The value of a rule such as "n != 1" for a number; nothing when it is no such rule.
[[nodiscard]] std::optional<std::uint64_t> pluralForm(std::string_view rule, std::uint64_t number);

}  // namespace morvane
