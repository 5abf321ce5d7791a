#include "server/catalogue_texts.h"

#include <charconv>

#include "foundation/localization.h"
#include "foundation/text.h"

namespace morvane::catalogue_texts {
namespace {

constexpr const char* separator = " || ";
constexpr const char* lineBreak = "<br>";
constexpr const char* style =
    "body{font:16px/1.5 sans-serif;max-width:40em;margin:3em auto;padding:0 1em;color:#222;background:#fff}"
    "fieldset{border:0;padding:0;margin:1em 0}label{margin-right:1em;white-space:nowrap}"
    "button{font:inherit;padding:.3em 1.5em}"
    "@media(prefers-color-scheme:dark){body{color:#ddd;background:#222}a{color:#8bf}}";

std::string number(std::int64_t value) {
    return std::to_string(value);
}

std::string flag(bool value) {
    return value ? "1" : "0";
}

/// At most two decimals, and none that are zero; "." in every locale.
std::string average(double value) {
    std::array<char, 32> digits{};
    const auto written =
        std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, 2);
    std::string text(digits.data(), written.ptr);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.pop_back();
    return text;
}

std::vector<std::string> commonFields(const CatalogueEntry& entry) {
    return {number(entry.id), entry.creator, entry.name, flag(entry.free), flag(entry.isNew), entry.country};
}

std::string escaped(std::string_view text) {
    std::string html;
    for (const char character : text) {
        switch (character) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '\'':
                html += "&#39;";
                break;
            default:
                html += character;
        }
    }
    return html;
}

std::string document(std::string_view title, std::string_view body) {
    return filled(
        "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
        "<meta name=\"viewport\" content=\"width=device-width\"><title>%@</title>"
        "<style>%@</style></head>\n<body><h1>%@</h1>\n%@</body></html>\n",
        {escaped(title), style, escaped(title), body});
}

std::string hidden(std::string_view name, std::string_view value) {
    return filled("<input type=\"hidden\" name=\"%@\" value=\"%@\">\n", {name, escaped(value)});
}

/// The family as it stands when it is one that counts, else a choice of those.
std::string cardField(const std::string& card) {
    if (cardFamilyNamed(card)) return hidden("card", card);
    std::string options = "<option value=\"\"></option>";
    for (const char* family : cardFamilyNames) options += filled("<option>%@</option>", {family});
    return filled("<p><label>Graphics card <select name=\"card\" required>%@</select></label></p>\n",
                  {options});
}

}  // namespace

std::string list(const std::vector<CatalogueEntry>& entries) {
    std::string text;
    for (const CatalogueEntry& entry : entries) {
        std::vector<std::string> fields = commonFields(entry);
        for (std::string field : {std::string("1"), number(entry.dependency), flag(entry.native)})
            fields.push_back(std::move(field));
        if (!text.empty()) text += lineBreak;
        text += MVString::joined(fields, separator);
    }
    return text;
}

std::string description(const CatalogueDetails& details, const std::array<double, 4>& averages) {
    std::string genres, sources;
    for (const std::string& genre : details.genres) genres += genre + ",";
    for (const CatalogueSource& source : details.sources) sources += source.name + "=>" + source.link + ";;";
    std::vector<std::string> fields = commonFields(details.entry);
    // Each item of the lists ends with its separator: the application cuts the last one off.
    for (std::string field :
         {details.description, details.trailer, genres, sources, number(details.entry.dependency),
          ratings(averages) + ", ", flag(details.entry.native), details.crossover})
        fields.push_back(std::move(field));
    return MVString::joined(fields, separator);
}

std::string ratings(const std::array<double, 4>& averages) {
    std::string text;
    for (std::size_t family = 0; family < averages.size(); ++family) {
        if (family > 0) text += ", ";
        text += std::string(cardFamilyNames.at(family)) + ":" + average(averages.at(family));
    }
    return text;
}

std::string ranking(const std::vector<RankedPort>& ports) {
    std::string text;
    for (const RankedPort& port : ports) {
        if (!text.empty()) text += lineBreak;
        text += MVString::joined({number(port.id), port.creator, port.name, port.value}, separator);
    }
    return text;
}

std::string voteForm(const VoteForm& form) {
    constexpr int mostStars = 5;
    std::string stars;
    for (int star = 1; star <= mostStars; ++star) {
        stars += filled(
            "<label><input type=\"radio\" name=\"rate\" value=\"%@\"%@ required> %@ %@</label>\n",
            {number(star), star == form.stars ? " checked" : "", number(star), star == 1 ? "star" : "stars"});
    }
    const std::string on = cardFamilyNamed(form.card) ? " on " + form.card : "";
    return document("Rate " + form.game.name,
                    filled("<p>How well does %@ run%@?</p>\n<form method=\"post\" action=\"ratePort.php\">\n"
                           "<fieldset>%@</fieldset>\n%@%@%@<button>Vote</button>\n</form>\n"
                           "<p>A later vote of yours for the same game and card replaces this one.</p>\n",
                           {escaped(form.game.name), escaped(on), stars, cardField(form.card),
                            hidden("game", number(form.game.id)), hidden("token", form.token)}));
}

std::string page(std::string_view heading, std::string_view text) {
    return document(heading, filled("<p>%@</p>\n", {escaped(text)}));
}

std::string frontPage(const std::vector<RankedPort>& latest) {
    std::string rows;
    for (const RankedPort& port : latest) {
        rows += filled("<li><a href=\"mvid://%@\">%@</a> (%@)</li>\n",
                       {number(port.id), escaped(port.name), port.value});
    }
    const std::string ports =
        rows.empty() ? "<p>It holds no port yet.</p>\n"
                     : "<h2>The newest ports</h2>\n<p>A link opens the game in Morvane.</p>\n<ul>\n" + rows +
                           "</ul>\n";
    return document("A catalogue of Morvane",
                    "<p>Windows games, each with the recipe that installs it. "
                    "<a href=\"blog/\">News</a>, <a href=\"smf/\">forum</a>.</p>\n" +
                        ports);
}

}  // namespace morvane::catalogue_texts
