#include "support/catalogue_file.h"

#include <cstdint>
#include <vector>

#include "platform/process.h"

namespace morvane::testing {

std::string catalogueFile(std::map<std::string, std::string> texts, const std::string& header) {
    texts[""] = "Content-Type: text/plain; charset=UTF-8\n" + header;
    const auto count = static_cast<std::uint32_t>(texts.size());
    constexpr std::uint32_t tables = 28;
    std::string head, body;
    const auto add = [&head](std::uint32_t number) {
        for (int shift = 0; shift < 32; shift += 8) head += static_cast<char>(number >> shift & 0xFFU);
    };
    for (const std::uint32_t number : {0x950412deU, 0U, count, tables, tables + 8 * count, 0U, 0U})
        add(number);
    const auto addText = [&](const std::string& text) {
        add(static_cast<std::uint32_t>(text.size()));
        add(tables + 16 * count + static_cast<std::uint32_t>(body.size()));
        body += text + '\0';
    };
    for (const auto& [key, text] : texts) addText(key);
    for (const auto& [key, text] : texts) addText(text);
    return head + body;
}

MessageCatalogue longLanguage(const std::string& sourceFolder) {
    const auto made = processes::run(
        {.program = "/bin/sh",
         .arguments = {
             "-c", "msgen \"$0\" | sed 's/=INTEGER; plural=EXPRESSION/=2; plural=(n != 1)/' | msgfmt -o - -",
             sourceFolder + "/po/morvane.pot"}});
    const auto english = MessageCatalogue::read(made ? made->output : "");
    std::map<std::string, std::string> texts;
    if (english) {
        for (const auto& [key, entry] : english->entries()) {
            std::string whole = key;
            std::string longer;
            for (std::size_t form = 0; form < entry.english.size(); ++form) {
                const std::string& text = entry.english[form];
                if (form > 0) whole += '\0' + text;
                longer +=
                    (form > 0 ? std::string(1, '\0') : "") + text + std::string(text.size() * 2 / 5, 'o');
            }
            texts[whole] = longer;
        }
    }
    return MessageCatalogue::read(catalogueFile(texts, "Plural-Forms: nplurals=2; plural=(n != 1);\n"))
        .value_or(MessageCatalogue());
}

}  // namespace morvane::testing
