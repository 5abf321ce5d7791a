#include "platform/json.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "platform/base64.h"
#include "platform/iso_time.h"
#include "platform/utf8.h"

namespace morvane {

namespace {

/// "2001-01-01T00:00:00Z"; nothing for times that have no such text.
std::optional<std::string> dateText(Date date) {
    using namespace std::chrono;
    constexpr double limit = 2e11;  // some 6000 years each way
    if (!(std::abs(date.secondsSince2001) < limit)) return std::nullopt;
    const auto time =
        sys_days(2001y / January / 1) + seconds(static_cast<std::int64_t>(std::floor(date.secondsSince2001)));
    return isoText(time);
}

/// The text behind a backslash that JSON has for the character; empty for one that stands as it is.
std::string escaped(char character) {
    constexpr std::string_view named = "\"\\\b\f\n\r\t", names = "\"\\bfnrt", digits = "0123456789abcdef";
    if (const auto found = named.find(character); found != std::string_view::npos) return {names[found]};
    const auto code = static_cast<unsigned char>(character);
    if (code >= 0x20) return {};
    return {'u', '0', '0', digits[code >> 4U], digits[code & 0xFU]};
}

/// Writes values straight into the text: a tree of the library's own in between takes ten times as long.
class Writer {
  public:
    explicit Writer(JsonLayout layout) : isIndented_(layout == JsonLayout::indented) {}

    std::string text(const Value& value) {
        write(value);
        return std::move(out_);
    }

  private:
    void write(const Value& value) {
        std::visit([this](const auto& content) { write(content); }, value.variant());
    }
    void write(std::monostate) { out_ += "null"; }
    void write(bool flag) { out_ += flag ? "true" : "false"; }
    void write(std::int64_t number) {
        std::array<char, 24> digits{};
        out_.append(digits.data(), std::to_chars(digits.begin(), digits.end(), number).ptr);
    }
    void write(double number) { out_ += nlohmann::json(number).dump(); }  // null when it is not finite
    void write(Date date) {
        const auto text = dateText(date);
        text ? write(*text) : write(std::monostate());
    }
    void write(const Data& data) { out_.append("\"").append(base64::encode(data.bytes)).append("\""); }
    void write(const std::string& text) {
        if (!utf8::isValid(text)) {
            out_ += nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
            return;
        }
        out_ += '"';
        std::size_t written = 0;
        for (std::size_t at = 0; at < text.size(); ++at) {
            const char character = text[at];
            if (static_cast<unsigned char>(character) >= 0x20 && character != '"' && character != '\\')
                continue;
            out_.append(text, written, at - written).append("\\").append(escaped(character));
            written = at + 1;
        }
        out_.append(text, written).append("\"");
    }
    void write(const Array& array) {
        begin('[');
        for (const Value& item : array) {
            next();
            write(item);
        }
        end(']', !array.empty());
    }
    void write(const Dictionary& dictionary) {
        begin('{');
        for (const auto& [name, value] : dictionary) {
            next();
            key(name);
            write(value);
        }
        end('}', !dictionary.empty());
    }
    void write(const ImageData& image) {
        write(Dictionary{{"kind", "image"},
                         {"width", image.width},
                         {"height", image.height},
                         {"bytes", static_cast<std::int64_t>(image.bytes.size())}});
    }
    void write(const StyledText& styled) {
        Array runs;
        for (const StyledRun& run : styled.runs) {
            Dictionary entry{{"length", static_cast<std::int64_t>(run.length)},
                             {"bold", run.bold},
                             {"italic", run.italic}};
            if (!run.font.empty()) entry.set("font", run.font);
            if (run.fontSize != 0) entry.set("fontSize", run.fontSize);
            if (!run.link.empty()) entry.set("link", run.link);
            if (run.white) entry.set("white", true);
            runs.emplace_back(std::move(entry));
        }
        begin('{');
        next();
        key("text");
        write(styled.text);
        next();
        key("runs");
        write(runs);
        end('}', true);
    }

    void key(const std::string& name) {
        write(name);
        out_ += isIndented_ ? ": " : ":";
    }
    void begin(char bracket) {
        out_ += bracket;
        isFirst_ = true;
        ++depth_;
    }
    void next() {
        if (!std::exchange(isFirst_, false)) out_ += ',';
        breakLine();
    }
    void end(char bracket, bool holdsSomething) {
        --depth_;
        isFirst_ = false;
        if (holdsSomething) breakLine();
        out_ += bracket;
    }
    void breakLine() {
        if (isIndented_) out_.append("\n").append(2 * depth_, ' ');
    }

    const bool isIndented_;
    std::string out_;
    std::size_t depth_ = 0;
    bool isFirst_ = true;
};

}  // namespace

std::string jsonText(const Value& value, JsonLayout layout) {
    return Writer(layout).text(value);
}

}  // namespace morvane
