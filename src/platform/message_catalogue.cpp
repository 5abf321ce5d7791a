#include "platform/message_catalogue.h"

#include <algorithm>
#include <utility>

#include "platform/files.h"
#include "platform/folders.h"
#include "platform/utf8.h"

namespace morvane {

namespace {

constexpr std::uint64_t oftenMet = 200;  ///< so many numbers a plural rule is tried with

/// The numbers and texts of the file, in the order of bytes in which it was written.
class File {
  public:
    explicit File(std::string_view bytes) : bytes_(bytes) {}

    bool begin() {
        constexpr std::uint32_t magic = 0x950412de, swapped = 0xde120495;
        const std::uint32_t found = number(0).value_or(0);
        isSwapped_ = found == swapped;
        return found == magic || isSwapped_;
    }

    [[nodiscard]] std::optional<std::uint32_t> number(std::uint64_t at) const {
        if (at + 4 > bytes_.size()) return std::nullopt;
        std::uint32_t result = 0;
        for (std::uint64_t i = 0; i < 4; ++i) {
            const std::uint64_t place = isSwapped_ ? at + i : at + 3 - i;
            result = result << 8 | static_cast<unsigned char>(bytes_[place]);
        }
        return result;
    }

    /// The text that a table names at that place; it ends with a NUL that isn't counted.
    [[nodiscard]] std::optional<std::string_view> textAt(std::uint64_t place) const {
        const auto size = number(place), start = number(place + 4);
        if (!size || !start) return std::nullopt;
        const std::uint64_t end = std::uint64_t{*start} + *size;
        if (end >= bytes_.size() || bytes_[end] != '\0') return std::nullopt;
        return bytes_.substr(*start, *size);
    }

  private:
    std::string_view bytes_;
    bool isSwapped_ = false;
};

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        parts.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

/// What stands behind the name, up to one of the ends.
std::string_view headerField(std::string_view header, std::string_view name, std::string_view ends) {
    const auto at = header.find(name);
    if (at == std::string_view::npos) return {};
    const std::string_view rest = header.substr(at + name.size());
    return rest.substr(0, rest.find_first_of(ends));
}

bool isSound(std::string_view rule, std::size_t forms) {
    for (std::uint64_t number = 0; number <= oftenMet; ++number) {
        const auto form = pluralForm(rule, number);
        if (!form || *form >= forms) return false;
    }
    return true;
}

/// "pt_BR.UTF-8@x": what it is looked for as, best first. A name that could lead elsewhere has none.
void addNames(std::vector<std::string>& languages, const std::string& locale) {
    const std::string modifier = locale.find('@') == std::string::npos ? "" : locale.substr(locale.find('@'));
    const std::string place = locale.substr(0, locale.find_first_of(".@"));
    if (place.empty() || (place + modifier).find_first_of("/.") != std::string::npos) return;
    const std::string language = place.substr(0, place.find('_'));
    for (const std::string& name : {place + modifier, language + modifier, place, language}) {
        if (std::ranges::find(languages, name) == languages.end()) languages.push_back(name);
    }
}

bool isEnglish(const std::string& locale) {
    return locale == "C" || locale == "POSIX" || locale.starts_with("C.") || locale == "en" ||
           locale.starts_with("en_") || locale.starts_with("en.");
}

}  // namespace

std::optional<MessageCatalogue> MessageCatalogue::read(std::string_view bytes) {
    constexpr std::uint64_t countPlace = 8, keysPlace = 12, textsPlace = 16, row = 8;
    File file(bytes);
    if (!file.begin()) return std::nullopt;
    const auto count = file.number(countPlace), keys = file.number(keysPlace),
               texts = file.number(textsPlace);
    if (!count || !keys || !texts) return std::nullopt;
    MessageCatalogue result;
    for (std::uint64_t i = 0; i < *count; ++i) {
        const auto key = file.textAt(*keys + i * row), text = file.textAt(*texts + i * row);
        if (!key || !text || !utf8::isValid(*text)) return std::nullopt;
        const std::size_t context = key->find('\4');
        Entry entry{.english = split(key->substr(context == std::string_view::npos ? 0 : context + 1), '\0'),
                    .forms = split(*text, '\0')};
        result.entries_.emplace(key->substr(0, key->find('\0')), std::move(entry));
    }
    const auto header = result.entries_.find("");
    if (header == result.entries_.end()) return std::nullopt;
    const std::string about = std::move(header->second.forms.front());
    result.entries_.erase(header);
    std::string charset(headerField(about, "charset=", " \n"));
    std::ranges::transform(charset, charset.begin(),
                           [](char c) { return c >= 'a' && c <= 'z' ? c - 32 : c; });
    if (charset != "UTF-8") return std::nullopt;
    result.rightToLeft_ = headerField(about, "X-Layout:", "\n") == " rtl";
    result.pluralRule_ = headerField(about, "plural=", ";\n");
    if (result.pluralRule_.empty()) result.pluralRule_ = "n != 1";
    for (const auto& [key, entry] : result.entries_) {
        if (entry.english.size() > 1 && !isSound(result.pluralRule_, entry.forms.size())) return std::nullopt;
    }
    return result;
}

MessageCatalogue MessageCatalogue::find(const std::string& folder,
                                        const std::vector<std::string>& languages) {
    for (const std::string& language : languages) {
        const auto bytes = files::read(files::join(folder, language + "/LC_MESSAGES/morvane.mo"));
        if (!bytes) continue;
        if (auto catalogue = read(*bytes)) return *std::move(catalogue);
    }
    return {};
}

MessageCatalogue MessageCatalogue::ofUser(const std::string& resources) {
    return find(files::join(files::parent(resources), "locale"), languagesOfUser());
}

std::optional<std::string_view> MessageCatalogue::text(std::string_view context, std::string_view key) const {
    std::string whole(context);
    if (!context.empty()) whole += '\4';
    const auto found = entries_.find(whole.append(key));
    if (found == entries_.end() || found->second.forms.front().empty()) return std::nullopt;
    return found->second.forms.front();
}

std::optional<std::string_view> MessageCatalogue::text(std::string_view key, std::uint64_t count) const {
    const auto found = entries_.find(key);
    const auto form = pluralForm(pluralRule_, count);
    if (found == entries_.end() || !form || *form >= found->second.forms.size()) return std::nullopt;
    const std::string& text = found->second.forms[*form];
    return text.empty() ? std::nullopt : std::optional<std::string_view>(text);
}

std::vector<std::string> languagesOfUser() {
    std::string locale;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (locale.empty()) locale = environmentVariable(name);
    }
    if (locale.empty() || (isEnglish(locale) && !locale.starts_with("en"))) return {};
    std::vector<std::string> wanted = split(environmentVariable("LANGUAGE"), ':');
    wanted.push_back(locale);
    std::vector<std::string> languages;
    for (const std::string& each : wanted) {
        if (isEnglish(each)) break;
        addNames(languages, each);
    }
    return languages;
}

}  // namespace morvane
