#include <algorithm>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/pictures.h"
#include "platform/utf8.h"
#include "ports/archive_graph.h"
#include "ports/typed_stream.h"

namespace morvane::typed_stream {
namespace {

/// The fields of an object in order, wherever its groups begin and end.
class Fields {
  public:
    explicit Fields(std::span<const Item> fields) : fields_(fields) { skipStarts(); }

    /// The next field when there is one.
    const Item* next() {
        if (at_ == fields_.size()) return nullptr;
        const Item* item = &fields_[at_++];
        skipStarts();
        return item;
    }
    /// The next field when it is of that kind, else null.
    template <class T>
    const T* next() {
        const Item* item = next();
        return item != nullptr ? std::get_if<T>(item) : nullptr;
    }
    [[nodiscard]] bool atEnd() const { return at_ == fields_.size(); }

  private:
    void skipStarts() {
        while (at_ < fields_.size() && std::holds_alternative<GroupStart>(fields_[at_])) ++at_;
    }
    std::span<const Item> fields_;
    std::size_t at_ = 0;
};

void appendUtf8(std::string& text, char32_t code) {
    const auto put = [&](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (code < 0x80) return put(code);
    if (code < 0x800) {
        put(0xc0 | code >> 6);
    } else {
        if (code < 0x10000) {
            put(0xe0 | code >> 12);
        } else {
            put(0xf0 | code >> 18);
            put(0x80 | (code >> 12 & 0x3f));
        }
        put(0x80 | (code >> 6 & 0x3f));
    }
    put(0x80 | (code & 0x3f));
}

/// The name in a font's blob: a type, a byte length, and UTF-16 with a byte-order mark. Empty for other
/// layouts.
std::string fontName(std::string_view blob) {
    constexpr std::size_t head = 8;
    if (blob.size() < head + 2) return "";
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(blob[i]); };
    const std::size_t length = at(4) | at(5) << 8 | at(6) << 16 | static_cast<std::size_t>(at(7)) << 24;
    const std::size_t stop = head + std::min(length, blob.size() - head);
    const bool little = at(head) == 0xff && at(head + 1) == 0xfe;
    if (!little && !(at(head) == 0xfe && at(head + 1) == 0xff)) return "";
    const auto unit = [&](std::size_t i) -> char32_t {
        return little ? at(i) | at(i + 1) << 8 : at(i) << 8 | at(i + 1);
    };
    std::string name;
    for (std::size_t i = head + 2; i + 1 < stop; i += 2) {
        char32_t code = unit(i);
        if (code == 0) break;
        const bool isLead = code >= 0xd800 && code < 0xdc00;
        if (isLead && i + 3 < stop && unit(i + 2) >= 0xdc00 && unit(i + 2) < 0xe000) {
            code = 0x10000 + ((code - 0xd800) << 10) + (unit(i + 2) - 0xdc00);
            i += 2;
        } else if (code >= 0xd800 && code < 0xe000) {
            code = 0xfffd;
        }
        appendUtf8(name, code);
    }
    return name;
}

bool holdsOneOf(std::string_view name, std::initializer_list<std::string_view> words) {
    return std::any_of(words.begin(), words.end(),
                       [&](std::string_view word) { return name.find(word) != std::string_view::npos; });
}

/// The place of the first character that is neither the scheme's nor its colon; 0 without a scheme.
std::size_t schemeLength(std::string_view url) {
    const std::size_t colon = url.find_first_of(":/?#");
    return colon != std::string_view::npos && colon > 0 && url[colon] == ':' ? colon + 1 : 0;
}

/// The address that a relative text means beside a base address.
std::string resolvedUrl(std::string_view base, std::string_view relative) {
    if (schemeLength(relative) > 0 || base.empty()) return std::string(relative);
    if (relative.empty()) return std::string(base);
    const std::size_t scheme = schemeLength(base);
    if (relative.starts_with("//")) return std::string(base.substr(0, scheme)).append(relative);
    const bool hasHost = base.substr(scheme).starts_with("//");
    const std::size_t pathStart =
        std::min(base.find_first_of("/?#", hasHost ? scheme + 2 : scheme), base.size());
    const std::size_t pathEnd = std::min(base.find_first_of("?#", pathStart), base.size());
    if (relative.front() == '/') return std::string(base.substr(0, pathStart)).append(relative);
    if (relative.front() == '?' || relative.front() == '#')
        return std::string(base.substr(0, pathEnd)).append(relative);
    const std::size_t slash = base.substr(0, pathEnd).rfind('/');
    if (slash == std::string_view::npos || slash < pathStart) {
        return std::string(base.substr(0, pathStart)).append("/").append(relative);
    }
    return std::string(base.substr(0, slash + 1)).append(relative);
}

/// Makes a tree of the graph, within the budget that the length of the archive gives.
class Converter {
  public:
    Converter(const Graph& graph, std::size_t archiveLength)
        : graph_(graph), nodesLeft_(2 * archiveLength + 1024), bytesLeft_(32 * archiveLength + 65536) {}

    Result<Value> root() {
        const auto groups = graph_.in(graph_.groups);
        const ObjectIndex* object = groups.size() > 1 ? std::get_if<ObjectIndex>(&groups[1]) : nullptr;
        if (object == nullptr) return Failure{localized("The archive holds no root object.")};
        auto value = convert(*object, 0);
        if (!soFar_) return soFar_.error();
        if (!value) {
            return Failure{localized("The archive holds an object of the class %@, which cannot be read.",
                                     {graph_.classOf(graph_.at(*object)).name})};
        }
        return std::move(*value);
    }

  private:
    bool good() const { return soFar_.has_value(); }
    std::span<const Item> fieldsOf(const Object& object) const { return graph_.in(object.fields); }

    std::nullopt_t fail(std::string_view what) {
        if (soFar_) soFar_ = Failure{localized(what)};
        return std::nullopt;
    }
    std::nullopt_t misfit(const Object& object) {
        if (soFar_) {
            soFar_ =
                Failure{localized("The archive is damaged: an object of the class %@ does not fit its class.",
                                  {graph_.classOf(object).name})};
        }
        return std::nullopt;
    }

    /// To be called before any work of that size, so that shared objects cannot multiply it.
    void spendNodes(std::size_t count) {
        if (count > nodesLeft_)
            fail("The archive shares so many objects that it cannot be read.");
        else
            nodesLeft_ -= count;
    }
    void spendBytes(std::size_t count) {
        if (count > bytesLeft_)
            fail("The archive shares so many objects that it cannot be read.");
        else
            bytesLeft_ -= count;
    }

    /// Nothing for objects that have no kind of value, and after a failure.
    std::optional<Value> convert(ObjectIndex index, int depth) {
        // References lead deeper than the stream nests, and circles lead deeper for ever.
        if (depth == deepestNesting) fail("The archive nests too deeply, or in a circle.");
        if (!good()) return std::nullopt;
        const Object& object = graph_.at(index);
        switch (graph_.classOf(object).kind) {
            case ClassKind::string:
                return text(object);
            case ClassKind::list:
                return list(object, depth);
            case ClassKind::dictionary:
                return dictionary(object, depth);
            case ClassKind::number:
                return number(object);
            case ClassKind::data:
                return data(object);
            case ClassKind::date:
                return date(object);
            case ClassKind::null:
                return Value();
            case ClassKind::url:
                return url(object, depth);
            case ClassKind::styledText:
                return styledText(object);
            case ClassKind::image:
            case ClassKind::imageRep:
                return image(object);
            case ClassKind::font:
            case ClassKind::unknown:
                return std::nullopt;
        }
        return std::nullopt;
    }

    /// What stands in a collection: null for nil and for what has no kind of value.
    Value element(const Item* item, const Object& holder, int depth) {
        if (item == nullptr) {
            misfit(holder);
            return {};
        }
        if (std::holds_alternative<std::monostate>(*item)) return {};
        const ObjectIndex* index = std::get_if<ObjectIndex>(item);
        if (index == nullptr) {
            misfit(holder);
            return {};
        }
        return convert(*index, depth + 1).value_or(Value());
    }

    std::optional<std::string> rawText(const Object& object) {
        Fields fields(fieldsOf(object));
        const Item* item = fields.next();
        if (item != nullptr && std::holds_alternative<std::monostate>(*item)) return std::nullopt;
        const Text* text = item != nullptr ? std::get_if<Text>(item) : nullptr;
        if (text == nullptr) return misfit(object);
        const std::string_view bytes = graph_.in(text->bytes);
        spendBytes(bytes.size());
        if (!good() || !MVString::isValidUtf8(bytes)) return std::nullopt;
        return std::string(bytes);
    }

    std::optional<Value> text(const Object& object) {
        auto raw = rawText(object);
        if (!raw) return std::nullopt;
        return Value(std::move(*raw));
    }

    /// The number of elements; no more than there are fields.
    std::optional<std::size_t> count(const Object& object, Fields& fields, std::size_t fieldsPerElement) {
        const std::int64_t* stored = fields.next<std::int64_t>();
        if (stored == nullptr || *stored < 0) return misfit(object);
        if (static_cast<std::uint64_t>(*stored) > object.fields.count / fieldsPerElement)
            return misfit(object);
        return static_cast<std::size_t>(*stored);
    }

    std::optional<Value> list(const Object& object, int depth) {
        Fields fields(fieldsOf(object));
        const auto length = count(object, fields, 1);
        if (!length) return std::nullopt;
        spendNodes(*length);
        if (!good()) return std::nullopt;
        Array array;
        array.reserve(*length);
        for (std::size_t i = 0; good() && i < *length; ++i)
            array.push_back(element(fields.next(), object, depth));
        return Value(std::move(array));
    }

    std::optional<Value> dictionary(const Object& object, int depth) {
        Fields fields(fieldsOf(object));
        const auto length = count(object, fields, 2);
        if (length) spendNodes(2 * *length);
        if (!good()) return std::nullopt;
        Dictionary result;
        result.reserve(*length);
        bool hasTextKeys = true;
        for (std::size_t i = 0; good() && i < *length; ++i) {
            Value key = element(fields.next(), object, depth);
            Value value = element(fields.next(), object, depth);
            if (auto* keyText = key.as<std::string>())
                result.set(std::move(*keyText), std::move(value));
            else
                hasTextKeys = false;
        }
        if (!hasTextKeys) return std::nullopt;
        return Value(std::move(result));
    }

    std::optional<Value> number(const Object& object) {
        Fields fields(fieldsOf(object));
        const Text* type = fields.next<Text>();
        const Item* item = fields.next();
        if (type == nullptr || item == nullptr) return misfit(object);
        if (const double* real = std::get_if<double>(item)) return Value(*real);
        const std::int64_t* integer = std::get_if<std::int64_t>(item);
        if (integer == nullptr) return std::nullopt;  // a point, a range or another structure
        const std::string_view code = graph_.in(type->bytes);
        const bool isBoolean = code == "B" || (code == "c" && (*integer == 0 || *integer == 1));
        return isBoolean ? Value(*integer != 0) : Value(*integer);
    }

    std::optional<Value> data(const Object& object) {
        Fields fields(fieldsOf(object));
        const std::int64_t* length = fields.next<std::int64_t>();
        const RawBytes* raw = fields.next<RawBytes>();
        const std::string_view bytes = raw != nullptr ? graph_.in(raw->bytes) : std::string_view();
        if (length == nullptr || *length != static_cast<std::int64_t>(bytes.size())) return misfit(object);
        spendBytes(bytes.size());
        if (!good()) return std::nullopt;
        return Value(Data{std::string(bytes)});
    }

    std::optional<Value> date(const Object& object) {
        const double* seconds = Fields(fieldsOf(object)).next<double>();
        if (seconds == nullptr) return misfit(object);
        return Value(Date{*seconds});
    }

    std::optional<Value> url(const Object& object, int depth) {
        Fields fields(fieldsOf(object));
        const std::int64_t* form = fields.next<std::int64_t>();
        if (form == nullptr || (*form != 0 && *form != 1)) return misfit(object);
        std::string base;
        spendNodes(2);
        if (*form == 1) {
            const Value baseUrl = element(fields.next(), object, depth);
            if (const auto* address = baseUrl.as<std::string>()) base = *address;
        }
        const Value relative = element(fields.next(), object, depth);
        const auto* address = relative.as<std::string>();
        if (!good() || address == nullptr) return std::nullopt;
        spendBytes(base.size());
        return Value(resolvedUrl(base, *address));
    }

    std::optional<Value> styledText(const Object& object) {
        Fields fields(fieldsOf(object));
        const ObjectIndex* string = fields.next<ObjectIndex>();
        if (string == nullptr || graph_.classOf(graph_.at(*string)).kind != ClassKind::string)
            return misfit(object);
        auto text = rawText(graph_.at(*string));
        if (!text) return std::nullopt;
        StyledText result{std::move(*text), {}};
        const std::size_t length = utf8::utf16Length(result.text);
        std::unordered_map<std::int64_t, StyledRun> styles;
        for (std::size_t covered = 0; good() && covered < length;) {
            const std::int64_t* number = fields.next<std::int64_t>();
            const std::int64_t* runLength = fields.next<std::int64_t>();
            if (number == nullptr || runLength == nullptr) return misfit(object);
            const auto units = static_cast<std::uint64_t>(*runLength);
            if (units > length - covered) return misfit(object);
            spendNodes(1);
            if (!styles.contains(*number)) {
                const Item* attributes = fields.next();
                if (attributes == nullptr) return misfit(object);
                styles[*number] = style(*attributes);
            }
            covered += static_cast<std::size_t>(units);
            if (units == 0) continue;
            StyledRun run = styles[*number];
            run.length = static_cast<std::size_t>(units);
            spendBytes(run.font.size() + run.link.size());
            result.runs.push_back(std::move(run));
        }
        if (!good()) return std::nullopt;
        return Value(std::move(result));
    }

    /// What we keep of an attribute dictionary; other attributes are passed over, and so is anything else.
    StyledRun style(const Item& attributes) {
        StyledRun run;
        const ObjectIndex* index = std::get_if<ObjectIndex>(&attributes);
        if (index == nullptr || graph_.classOf(graph_.at(*index)).kind != ClassKind::dictionary) return run;
        Fields fields(fieldsOf(graph_.at(*index)));
        fields.next();  // the count
        while (good() && !fields.atEnd()) {
            const ObjectIndex* key = fields.next<ObjectIndex>();
            const ObjectIndex* value = fields.next<ObjectIndex>();
            spendNodes(1);
            if (key == nullptr || value == nullptr || !good()) continue;
            const std::string name = graph_.classOf(graph_.at(*key)).kind == ClassKind::string
                                         ? rawText(graph_.at(*key)).value_or("")
                                         : "";
            if (name == "NSFont") takeFont(run, graph_.at(*value));
            if (name == "NSColor") run.white = isWhite(graph_.at(*value));
            if (name == "NSLink") takeLink(run, *value);
        }
        return run;
    }

    void takeFont(StyledRun& run, const Object& font) {
        if (graph_.classOf(font).kind != ClassKind::font) return;
        Fields fields(fieldsOf(font));
        fields.next();  // the blob's length
        const RawBytes* blob = fields.next<RawBytes>();
        const double* size = fields.next<double>();
        if (blob == nullptr || size == nullptr) return;
        spendBytes(2 * std::size_t{blob->bytes.length});
        if (!good()) return;
        run.font = fontName(graph_.in(blob->bytes));
        run.fontSize = *size;
        run.bold = holdsOneOf(run.font, {"Bold", "Heavy", "Black"});
        run.italic = holdsOneOf(run.font, {"Italic", "Oblique"});
    }

    /// Of the many ways to store a colour, the one of greys.
    bool isWhite(const Object& colour) {
        constexpr std::int64_t greys = 3;
        if (graph_.classOf(colour).name != "NSColor") return false;
        Fields fields(fieldsOf(colour));
        const auto* space = fields.next<std::int64_t>();
        const auto* whiteness = fields.next<double>();
        return space != nullptr && *space == greys && whiteness != nullptr && *whiteness == 1;
    }

    void takeLink(StyledRun& run, ObjectIndex link) {
        const ClassKind kind = graph_.classOf(graph_.at(link)).kind;
        if (kind != ClassKind::url && kind != ClassKind::string) return;
        const auto value = convert(link, 0);
        if (const auto* address = value ? value->as<std::string>() : nullptr) run.link = *address;
    }

    /// The versions of image objects differ in flags only, and of later ones nothing is known: the size is
    /// the first pair of reals, the picture the first byte array that begins like one.
    std::optional<Value> image(const Object& object) {
        spendNodes(object.fields.count);
        if (!good()) return std::nullopt;
        ImageData result;
        const auto fields = fieldsOf(object);
        for (std::size_t i = 0; i + 1 < fields.size(); ++i) {
            const double* width = std::get_if<double>(&fields[i]);
            const double* height = std::get_if<double>(&fields[i + 1]);
            if (width == nullptr || height == nullptr) continue;
            result.width = *width;
            result.height = *height;
            break;
        }
        constexpr int reach = 8;
        std::unordered_set<const Object*> seen;
        const std::string_view picture = pictureIn(object, reach, seen);
        if (!good() || picture.empty()) return std::nullopt;
        spendBytes(picture.size());
        if (!good()) return std::nullopt;
        result.bytes = std::string(picture);
        return Value(std::move(result));
    }

    std::string_view pictureIn(const Object& object, int reach, std::unordered_set<const Object*>& seen) {
        spendNodes(object.fields.count);
        if (!good() || reach == 0 || !seen.insert(&object).second) return {};
        for (const Item& item : fieldsOf(object)) {
            if (const auto* raw = std::get_if<RawBytes>(&item)) {
                const std::string_view bytes = graph_.in(raw->bytes);
                const std::string_view kind = pictures::kindOf(bytes);
                if (kind == "TIFF" || kind == "PNG" || kind == "JPEG" || kind == "ICNS") return bytes;
            } else if (const auto* inner = std::get_if<ObjectIndex>(&item)) {
                const std::string_view found = pictureIn(graph_.at(*inner), reach - 1, seen);
                if (!found.empty()) return found;
            }
        }
        return {};
    }

    const Graph& graph_;
    std::size_t nodesLeft_, bytesLeft_;
    Result<> soFar_;
};

}  // namespace

Result<Value> unarchive(std::string_view bytes) {
    auto graph = readGraph(bytes);
    if (!graph) return graph.error();
    return Converter(*graph, bytes.size()).root();
}

}  // namespace morvane::typed_stream
