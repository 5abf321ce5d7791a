#include "platform/property_list.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <array>
#include <charconv>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "platform/base64.h"
#include "platform/iso_time.h"
#include "platform/utf8.h"

// Reading and writing are done here and not by a property list library: the one at hand expands shared
// objects of a binary list without bound (300 bytes took 4 GB), keeps dates in 32 bits, and can't write a
// negative integer.

namespace morvane::property_lists {

namespace {

constexpr std::size_t deepestNesting = 512;

/// What a number is that does not fit the signed integers of a `Value`: the nearest real.
Value unsignedValue(std::uint64_t number) {
    if (number <= static_cast<std::uint64_t>(INT64_MAX)) return static_cast<std::int64_t>(number);
    return static_cast<double>(number);
}

// --- Texts of the XML form

template <class Number, class... Form>
std::optional<Number> wholeNumber(std::string_view text, Form... form) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, form...);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::optional<Value> integerFrom(std::string_view text) {
    text = utf8::trimmed(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (hexadecimal) text.remove_prefix(2);
    const auto magnitude = wholeNumber<std::uint64_t>(text, hexadecimal ? 16 : 10);
    if (!magnitude) return std::nullopt;
    if (!negative) return unsignedValue(*magnitude);
    if (*magnitude > std::uint64_t{1} << 63U) return std::nullopt;
    return static_cast<std::int64_t>(-*magnitude);
}

std::optional<Value> realFrom(std::string_view text) {
    text = utf8::trimmed(text);
    if (text.starts_with('+')) text.remove_prefix(1);
    if (const auto number = wholeNumber<double>(text)) return *number;
    return std::nullopt;
}

std::optional<Value> dateFrom(std::string_view text) {
    text = utf8::trimmed(text);
    const std::size_t yearEnd = text.find('-', 1);
    if (yearEnd == std::string_view::npos || text.size() != yearEnd + 16) return std::nullopt;
    const std::string_view rest = text.substr(yearEnd);  // "-MM-DDTHH:MM:SSZ"
    if (rest[3] != '-' || rest[6] != 'T' || rest[9] != ':' || rest[12] != ':' || rest[15] != 'Z') {
        return std::nullopt;
    }
    const auto year = wholeNumber<std::int16_t>(text.substr(0, yearEnd));
    std::array<unsigned, 5> parts{};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const auto part = wholeNumber<unsigned>(rest.substr(1 + 3 * i, 2));
        if (!part) return std::nullopt;
        parts[i] = *part;
    }
    const auto [month, day, hours, minutes, seconds] = parts;
    if (!year || hours > 23 || minutes > 59 || seconds > 60) return std::nullopt;
    using namespace std::chrono;
    const year_month_day date{std::chrono::year(*year), std::chrono::month(month), std::chrono::day(day)};
    if (!date.ok()) return std::nullopt;
    const auto days = (sys_days(date) - sys_days(2001y / January / 1)).count();
    return Date{static_cast<double>(days) * 86400.0 + hours * 3600.0 + minutes * 60.0 + seconds};
}

// --- Reading XML

/// Builds the value from the parser's events. Any surprise stops the parser and leaves no result.
class XmlReader {
  public:
    std::optional<Value> read(std::string_view bytes) {
        if (bytes.size() > INT_MAX) return std::nullopt;
        xmlSAXHandler handler{};
        handler.initialized = XML_SAX2_MAGIC;
        handler.startElementNs = [](void* self, const xmlChar* name, auto...) {
            static_cast<XmlReader*>(self)->begin(reinterpret_cast<const char*>(name));
        };
        handler.endElementNs = [](void* self, const xmlChar* name, auto...) {
            static_cast<XmlReader*>(self)->end(reinterpret_cast<const char*>(name));
        };
        handler.characters = handler.ignorableWhitespace =
            handler.cdataBlock = [](void* self, const xmlChar* text, int length) {
                static_cast<XmlReader*>(self)->text_.append(reinterpret_cast<const char*>(text),
                                                            static_cast<std::size_t>(length));
            };
        // Without a handler that takes in declarations there are only the predefined entities, and so no
        // expansion.
        handler.getEntity = [](void*, const xmlChar* name) { return xmlGetPredefinedEntity(name); };
        handler.reference = [](void* self, const xmlChar*) { static_cast<XmlReader*>(self)->stop(); };
        handler.serror = [](void*, xmlErrorPtr) {};

        // The library would set itself up at its first use, which two threads may come to at once.
        [[maybe_unused]] static const bool isReady = (xmlInitParser(), true);
        // Faults of the encoding are told to this thread's handler, not to the parser's.
        xmlSetStructuredErrorFunc(nullptr, [](void*, xmlErrorPtr) {});
        parser_ = xmlCreateMemoryParserCtxt(bytes.data(), static_cast<int>(bytes.size()));
        if (parser_ == nullptr) return std::nullopt;
        xmlCtxtUseOptions(parser_, XML_PARSE_NONET | XML_PARSE_HUGE);
        xmlSAXHandler* const own = parser_->sax;
        parser_->sax = &handler;
        parser_->userData = this;
        xmlParseDocument(parser_);
        parser_->sax = own;
        xmlFreeParserCtxt(parser_);
        return std::move(result_);
    }

  private:
    struct Container {
        bool isDictionary;
        Array array;
        Dictionary dictionary;
        std::optional<std::string> key;
    };

    void stop() {
        failed_ = true;
        result_.reset();
        xmlStopParser(parser_);
    }

    void begin(std::string_view name) {
        text_.clear();
        if (failed_ || inScalar_) return stop();
        if (name == "plist") {
            if (seenPlist_ || !open_.empty()) stop();
            seenPlist_ = true;
        } else if (name == "dict" || name == "array") {
            if (!valueMayStand() || open_.size() == deepestNesting) return stop();
            open_.push_back({name == "dict", {}, {}, {}});
        } else if (name == "key") {
            if (open_.empty() || !open_.back().isDictionary || open_.back().key) return stop();
            inScalar_ = true;
        } else {
            if (!valueMayStand()) return stop();
            inScalar_ = true;
        }
    }

    [[nodiscard]] bool valueMayStand() const {
        if (open_.empty()) return !result_;
        return !open_.back().isDictionary || open_.back().key.has_value();
    }

    void end(std::string_view name) {
        if (failed_ || name == "plist") return;
        if (name == "dict" || name == "array") {
            Container closed = std::move(open_.back());
            open_.pop_back();
            if (closed.key) return stop();
            return add(closed.isDictionary ? Value(std::move(closed.dictionary))
                                           : Value(std::move(closed.array)));
        }
        inScalar_ = false;
        if (name == "key") {
            open_.back().key = std::move(text_);
            return;
        }
        std::optional<Value> value = scalar(name);
        if (!value) return stop();
        add(std::move(*value));
    }

    std::optional<Value> scalar(std::string_view name) {
        if (name == "string") return std::move(text_);
        if (name == "integer") return integerFrom(text_);
        if (name == "real") return realFrom(text_);
        if (name == "true") return true;
        if (name == "false") return false;
        if (name == "date") return dateFrom(text_);
        if (name != "data") return std::nullopt;
        auto bytes = base64::decode(text_);
        if (!bytes) return std::nullopt;
        return Data{std::move(*bytes)};
    }

    void add(Value value) {
        if (open_.empty()) {
            result_ = std::move(value);
        } else if (open_.back().isDictionary) {
            open_.back().dictionary.set(std::move(*open_.back().key), std::move(value));
            open_.back().key.reset();
        } else {
            open_.back().array.push_back(std::move(value));
        }
    }

    xmlParserCtxtPtr parser_ = nullptr;
    std::vector<Container> open_;
    std::string text_;
    bool inScalar_ = false;
    bool seenPlist_ = false;
    bool failed_ = false;
    std::optional<Value> result_;
};

// --- Reading the binary form

/// An object may be referred to again and again, so that a small file can stand for a huge tree, or for an
/// endless one: the tree is bounded while it is unfolded.
class BinaryReader {
  public:
    explicit BinaryReader(std::string_view bytes) : bytes_(bytes) {}

    std::optional<Value> read() {
        constexpr std::size_t trailerSize = 32;
        if (bytes_.size() < magic.size() + trailerSize) return std::nullopt;
        const std::size_t trailer = bytes_.size() - trailerSize;
        offsetSize_ = number(trailer + 6, 1);
        referenceSize_ = number(trailer + 7, 1);
        objectCount_ = number(trailer + 8, 8);
        offsetTable_ = number(trailer + 24, 8);
        objectsEnd_ = offsetTable_;
        if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8)
            return std::nullopt;
        if (offsetTable_ < magic.size() || offsetTable_ > trailer) return std::nullopt;
        if (objectCount_ > (trailer - offsetTable_) / offsetSize_) return std::nullopt;
        return object(number(trailer + 16, 8), 0);
    }

    static constexpr std::string_view magic = "bplist0";  // any minor version

  private:
    /// A big-endian number; the caller has checked the range.
    [[nodiscard]] std::uint64_t number(std::size_t position, std::size_t size) const {
        std::uint64_t result = 0;
        for (std::size_t i = 0; i < size; ++i) {
            result = (result << 8U) | static_cast<unsigned char>(bytes_[position + i]);
        }
        return result;
    }

    [[nodiscard]] bool fits(std::size_t position, std::uint64_t count, std::size_t size) const {
        return position <= objectsEnd_ && count <= (objectsEnd_ - position) / size;
    }

    std::optional<Value> object(std::uint64_t index, std::size_t depth) {
        if (index >= objectCount_ || ++valueCount_ > mostValues) return std::nullopt;
        const std::uint64_t offset = number(offsetTable_ + index * offsetSize_, offsetSize_);
        if (offset < magic.size() || offset >= objectsEnd_) return std::nullopt;
        std::size_t position = offset;
        const auto marker = static_cast<unsigned char>(bytes_[position++]);
        const unsigned kind = marker >> 4U;
        const unsigned low = marker & 0xFU;
        if (marker == 0x08 || marker == 0x09) return marker == 0x09;
        if (kind >= 1 && kind <= 3) return numeric(kind, position, std::size_t{1} << low);
        if (kind == 8) return uid(position, low + 1);

        const auto count = countAt(position, low);
        if (!count) return std::nullopt;
        switch (kind) {
            case 4:
            case 5:
            case 7:
                return text(kind, position, *count);
            case 6:
                return utf16Text(position, *count);
            case 0xA:
                return array(position, *count, depth);
            case 0xD:
                return dictionary(position, *count, depth);
            default:
                return std::nullopt;
        }
    }

    std::optional<Value> numeric(unsigned kind, std::size_t position, std::size_t size) const {
        if (size > 16 || !fits(position, size, 1)) return std::nullopt;
        if (kind == 1) {
            // Eight bytes are signed, shorter ones are not; sixteen carry the unsigned numbers beyond the
            // signed.
            if (size < 8) return static_cast<std::int64_t>(number(position, size));
            if (size == 8 || bytes_[position] != 0) {
                return static_cast<std::int64_t>(number(position + size - 8, 8));
            }
            return unsignedValue(number(position + 8, 8));
        }
        double real = 0;
        if (size == 8) {
            const std::uint64_t bits = number(position, 8);
            std::memcpy(&real, &bits, sizeof real);
        } else if (size == 4 && kind == 2) {
            const auto bits = static_cast<std::uint32_t>(number(position, 4));
            float single = 0;
            std::memcpy(&single, &bits, sizeof single);
            real = static_cast<double>(single);
        } else {
            return std::nullopt;
        }
        if (kind == 3) return Date{real};
        return real;
    }

    /// References of keyed archives take the form that they have in XML.
    std::optional<Value> uid(std::size_t position, std::size_t size) const {
        if (size > 8 || !fits(position, size, 1)) return std::nullopt;
        return Dictionary{{"CF$UID", unsignedValue(number(position, size))}};
    }

    /// The count in the marker, or in the integer behind it, which is skipped.
    std::optional<std::uint64_t> countAt(std::size_t& position, unsigned low) const {
        if (low != 0xF) return low;
        if (!fits(position, 1, 1)) return std::nullopt;
        const auto marker = static_cast<unsigned char>(bytes_[position++]);
        const std::size_t size = std::size_t{1} << (marker & 0xFU);
        if (marker >> 4U != 1 || size > 8 || !fits(position, size, 1)) return std::nullopt;
        const std::uint64_t count = number(position, size);
        position += size;
        return count;
    }

    bool spend(std::uint64_t payload) {
        payload_ += payload;
        return payload_ <= mostSharedBytes + bytes_.size();
    }

    std::optional<Value> text(unsigned kind, std::size_t position, std::uint64_t count) {
        if (!fits(position, count, 1) || !spend(count)) return std::nullopt;
        const std::string_view bytes = bytes_.substr(position, count);
        if (kind == 4) return Data{std::string(bytes)};
        std::string result(bytes.substr(0, utf8::behindAscii(bytes, 0)));
        for (std::size_t at = result.size(); at < bytes.size();) {
            // Kind 5 is meant to be ASCII; what is not, is taken for Latin-1, so that two keys that differ
            // stay two.
            utf8::append(result, kind == 5 ? static_cast<unsigned char>(bytes[at++]) : utf8::next(bytes, at));
        }
        return result;
    }

    std::optional<Value> utf16Text(std::size_t position, std::uint64_t count) {
        if (!fits(position, count, 2) || !spend(2 * count)) return std::nullopt;
        std::string result;
        for (std::uint64_t i = 0; i < count; ++i) {
            char32_t unit = static_cast<char32_t>(number(position + 2 * i, 2));
            if (unit >= 0xD800 && unit < 0xDC00 && i + 1 < count) {
                const auto low = static_cast<char32_t>(number(position + 2 * (i + 1), 2));
                if (low >= 0xDC00 && low < 0xE000) {
                    unit = 0x10000 + ((unit - 0xD800) << 10U) + (low - 0xDC00);
                    ++i;
                }
            }
            utf8::append(result, unit);
        }
        return result;
    }

    [[nodiscard]] std::uint64_t reference(std::size_t position, std::uint64_t index) const {
        return number(position + index * referenceSize_, referenceSize_);
    }

    std::optional<Value> array(std::size_t position, std::uint64_t count, std::size_t depth) {
        if (!fits(position, count, referenceSize_) || depth == deepestNesting) return std::nullopt;
        Array result;
        for (std::uint64_t i = 0; i < count; ++i) {
            auto item = object(reference(position, i), depth + 1);
            if (!item) return std::nullopt;
            result.push_back(std::move(*item));
        }
        return result;
    }

    std::optional<Value> dictionary(std::size_t position, std::uint64_t count, std::size_t depth) {
        if (!fits(position, count, 2 * referenceSize_) || depth == deepestNesting) return std::nullopt;
        // No more: a small file may name one large dictionary very often.
        constexpr std::uint64_t mostRoom = 64;
        Dictionary result;
        result.reserve(std::min(count, mostRoom));
        for (std::uint64_t i = 0; i < count; ++i) {
            auto key = object(reference(position, i), depth + 1);
            if (!key || key->as<std::string>() == nullptr) return std::nullopt;
            auto value = object(reference(position, count + i), depth + 1);
            if (!value) return std::nullopt;
            result.set(std::move(*key->as<std::string>()), std::move(*value));
        }
        return result;
    }

    static constexpr std::size_t mostValues = 500'000;
    static constexpr std::uint64_t mostSharedBytes = std::uint64_t{64} << 20U;

    std::string_view bytes_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t objectCount_ = 0;
    std::size_t offsetTable_ = 0;
    std::size_t objectsEnd_ = 0;
    std::size_t valueCount_ = 0;
    std::uint64_t payload_ = 0;
};

// --- Writing XML

bool isPlain(char character) {
    return character >= ' ' && character <= '~' && character != '&' && character != '<' && character != '>';
}

/// Characters that XML cannot hold become U+FFFD: a file with them in it could never be read again.
void appendEscaped(std::string& xml, std::string_view text) {
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t start = position;
        while (position < text.size() && isPlain(text[position])) ++position;
        xml.append(text, start, position - start);
        if (position == text.size()) return;
        const char32_t character = utf8::next(text, position);
        const bool isBlank = character == '\t' || character == '\n';
        if (character == '&') {
            xml += "&amp;";
        } else if (character == '<') {
            xml += "&lt;";
        } else if (character == '>') {
            xml += "&gt;";
        } else if (character == '\r') {
            xml += "&#13;";  // as it stands a reader turns it into a line feed
        } else if ((character < 0x20 && !isBlank) || character == 0xFFFE || character == 0xFFFF) {
            utf8::append(xml, utf8::replacement);
        } else {
            utf8::append(xml, character);
        }
    }
}

std::string realText(double real) {
    if (std::isnan(real)) return "nan";
    if (std::isinf(real)) return real > 0 ? "+infinity" : "-infinity";
    std::array<char, 32> buffer;
    return {buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), real).ptr};
}

/// The form has whole seconds and years of four digits: fractions are dropped, what lies outside stops at the
/// edge.
std::string dateText(Date date) {
    using namespace std::chrono;
    constexpr auto epoch = sys_days(2001y / January / 1);
    constexpr auto first = duration<double>(sys_days(1y / January / 1) - epoch).count();
    constexpr auto last = duration<double>(sys_days(10000y / January / 1) - epoch).count() - 1;
    const double clamped =
        std::isnan(date.secondsSince2001) ? 0 : std::clamp(date.secondsSince2001, first, last);
    const auto time = epoch + seconds(static_cast<std::int64_t>(std::floor(clamped)));
    return isoText(time);
}

[[nodiscard]] bool isWritable(const Value& value) {
    return !value.isNull() && value.as<ImageData>() == nullptr && value.as<StyledText>() == nullptr;
}

class XmlWriter {
  public:
    void add(const Value& value, std::size_t depth) {
        std::visit([&](const auto& content) { write(content, depth); }, value.variant());
    }

    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\">\n";

  private:
    void line(std::size_t depth, std::string_view tag, std::string_view text) {
        xml.append(depth, '\t').append("<").append(tag).append(">");
        appendEscaped(xml, text);
        xml.append("</").append(tag).append(">\n");
    }
    void mark(std::size_t depth, std::string_view mark) { xml.append(depth, '\t').append(mark).append("\n"); }

    void write(const std::string& text, std::size_t depth) { line(depth, "string", text); }
    void write(std::int64_t number, std::size_t depth) { line(depth, "integer", std::to_string(number)); }
    void write(double number, std::size_t depth) { line(depth, "real", realText(number)); }
    void write(bool flag, std::size_t depth) { mark(depth, flag ? "<true/>" : "<false/>"); }
    void write(Date date, std::size_t depth) { line(depth, "date", dateText(date)); }
    void write(const Data& data, std::size_t depth) { line(depth, "data", base64::encode(data.bytes)); }
    void write(const Array& array, std::size_t depth) {
        if (array.empty()) return mark(depth, "<array/>");
        mark(depth, "<array>");
        for (const Value& item : array) {
            if (isWritable(item)) add(item, depth + 1);
        }
        mark(depth, "</array>");
    }
    void write(const Dictionary& dictionary, std::size_t depth) {
        if (dictionary.empty()) return mark(depth, "<dict/>");
        mark(depth, "<dict>");
        for (const auto& [key, value] : dictionary) {
            if (!isWritable(value)) continue;
            line(depth + 1, "key", key);
            add(value, depth + 1);
        }
        mark(depth, "</dict>");
    }
    void write(std::monostate, std::size_t) {}
    void write(const ImageData&, std::size_t) {}
    void write(const StyledText&, std::size_t) {}
};

}  // namespace

std::optional<Value> parse(std::string_view bytes) {
    if (bytes.starts_with(BinaryReader::magic)) return BinaryReader(bytes).read();
    return XmlReader().read(bytes);
}

std::optional<Value> read(const std::string& path) {
    const Result<std::string> bytes = files::read(path);
    return bytes ? parse(*bytes) : std::nullopt;
}

std::string xml(const Value& value) {
    XmlWriter writer;
    writer.add(value, 0);
    return std::move(writer.xml) + "</plist>\n";
}

Result<> write(const std::string& path, const Value& value) {
    return files::write(path, xml(value), files::Atomically::yes);
}

}  // namespace morvane::property_lists
