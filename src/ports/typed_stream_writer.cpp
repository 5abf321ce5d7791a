#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <map>
#include <optional>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/pictures.h"
#include "ports/archive_graph.h"
#include "ports/typed_stream.h"

namespace morvane::typed_stream {
namespace {

struct ClassName {
    std::string_view name;
    std::int64_t version;
};
using Chain = std::initializer_list<ClassName>;  // derived class first; NSObject follows

/// UTF-16 of valid UTF-8.
std::u16string utf16(std::string_view utf8) {
    std::u16string result;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto head = static_cast<unsigned char>(utf8[i]);
        const int more = head < 0x80 ? 0 : head < 0xe0 ? 1 : head < 0xf0 ? 2 : 3;
        char32_t code = more == 0 ? head : static_cast<char32_t>(head & (0x3f >> more));
        for (int k = 1; k <= more; ++k)
            code = code << 6 | (static_cast<unsigned char>(utf8[i + static_cast<std::size_t>(k)]) & 0x3f);
        i += static_cast<std::size_t>(more) + 1;
        if (code < 0x10000) {
            result += static_cast<char16_t>(code);
        } else {
            result += static_cast<char16_t>(0xd800 + ((code - 0x10000) >> 10));
            result += static_cast<char16_t>(0xdc00 + ((code - 0x10000) & 0x3ff));
        }
    }
    return result;
}

/// The font that a run is shown in: the platform knows a bold face by its font's name only.
std::string faceName(const StyledRun& run) {
    std::string name = run.font.empty() ? "Helvetica" : run.font;
    const bool isBold = name.find("Bold") != std::string::npos || name.find("Heavy") != std::string::npos ||
                        name.find("Black") != std::string::npos;
    const bool isItalic =
        name.find("Italic") != std::string::npos || name.find("Oblique") != std::string::npos;
    std::string face;
    if (run.bold && !isBold) face += "Bold";
    if (run.italic && !isItalic)
        face += name.starts_with("Helvetica") && !name.starts_with("HelveticaNeue") ? "Oblique" : "Italic";
    if (face.empty()) return name;
    return name + (name.find('-') == std::string::npos ? "-" : "") + face;
}

class Writer {
  public:
    explicit Writer(ByteOrder order) : order_(order) {}

    Result<std::string> write(const Value& root) {
        byte(0x04);
        byte(0x0b);
        out_ += order_ == ByteOrder::little ? "streamtyped" : "typedstream";
        integer(1000);
        group("@");
        value(root);
        if (!soFar_) return soFar_.error();
        return std::move(out_);
    }

  private:
    struct Slot {
        std::string_view text;
        std::size_t number;
    };
    static const Slot* find(const std::vector<Slot>& slots, std::string_view text) {
        const auto found = std::ranges::find(slots, text, &Slot::text);
        return found == slots.end() ? nullptr : &*found;
    }

    void fail(std::string message) {
        if (soFar_) soFar_ = Failure{std::move(message)};
    }

    void byte(unsigned value) { out_ += static_cast<char>(static_cast<unsigned char>(value)); }

    void word(std::uint64_t value, unsigned width) {
        for (unsigned i = 0; i < width; ++i) {
            const unsigned shift = 8 * (order_ == ByteOrder::little ? i : width - 1 - i);
            byte(static_cast<unsigned>(value >> shift & 0xff));
        }
    }

    void integer(std::int64_t value) {
        const auto bits = static_cast<std::uint64_t>(value);
        if (value >= -110 && value <= 127) return byte(static_cast<unsigned>(bits & 0xff));
        const bool fits16 = value >= std::numeric_limits<std::int16_t>::min() &&
                            value <= std::numeric_limits<std::int16_t>::max();
        const bool fits32 = value >= std::numeric_limits<std::int32_t>::min() &&
                            value <= std::numeric_limits<std::int32_t>::max();
        byte(fits16 ? 0x81 : fits32 ? 0x82 : 0x87);
        word(bits, fits16 ? 2 : fits32 ? 4 : 8);
    }

    /// As an integer when it is one of 32 bits, else in the given width.
    void real(double value, unsigned width) {
        const bool isWhole = value >= std::numeric_limits<std::int32_t>::min() &&
                             value <= std::numeric_limits<std::int32_t>::max() &&
                             value == std::trunc(value) && !(value == 0 && std::signbit(value));
        if (isWhole) return integer(static_cast<std::int64_t>(value));
        byte(0x83);
        if (width == 4)
            word(std::bit_cast<std::uint32_t>(static_cast<float>(value)), 4);
        else
            word(std::bit_cast<std::uint64_t>(value), 8);
    }

    void unsharedString(std::string_view text) {
        integer(static_cast<std::int64_t>(text.size()));
        out_ += text;
    }

    void reference(std::size_t index) { integer(static_cast<std::int64_t>(index) - 110); }

    /// Types of one letter stand before every value, and are looked up without hashing.
    void sharedString(std::string_view text) {
        std::size_t* const letter =
            text.size() == 1 ? &letters_[static_cast<unsigned char>(text[0])] : nullptr;
        if (letter != nullptr && *letter != 0) return reference(*letter - 1);
        const std::size_t index = sharedCount_;
        if (letter != nullptr) {
            *letter = index + 1;
        } else if (const auto [found, isNew] = strings_.try_emplace(std::string(text), index); !isNew) {
            return reference(found->second);
        }
        ++sharedCount_;
        byte(0x84);
        unsharedString(text);
    }

    void cString(std::string_view text) {
        if (const Slot* known = find(cStrings_, text)) return reference(known->number);
        cStrings_.push_back({text, slots_++});
        byte(0x84);
        sharedString(text);
    }

    void classChain(Chain chain) {
        for (const ClassName& entry : chain) {
            if (knownClass(entry)) return;
        }
        if (!knownClass({"NSObject", 0})) byte(0x85);
    }

    /// Writes the class, or the reference that ends the chain.
    bool knownClass(const ClassName& entry) {
        if (const Slot* known = find(classes_, entry.name)) {
            reference(known->number);
            return true;
        }
        classes_.push_back({entry.name, slots_++});
        byte(0x84);
        sharedString(entry.name);
        integer(entry.version);
        return false;
    }

    void group(std::string_view type) { sharedString(type); }

    /// A new object whose fields `body` writes.
    template <class Body>
    void object(Chain chain, Body body) {
        if (depth_ == deepestNesting) fail(localized("An archive holds at most 256 levels."));
        if (!soFar_) return;
        ++depth_;
        byte(0x84);
        ++slots_;
        classChain(chain);
        body();
        byte(0x86);
        --depth_;
    }

    void nilObject() {
        group("@");
        byte(0x85);
    }
    void count(std::size_t number) {
        group("i");
        integer(static_cast<std::int64_t>(number));
        if (number > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
            fail(localized("An archive holds at most 2 GB in one value."));
        }
    }
    void flag(unsigned value) {
        group("c");
        byte(value);
    }
    void bytes(std::string_view content) {
        count(content.size());
        group("[" + std::to_string(content.size()) + "c]");
        out_ += content;
    }

    void text(std::string_view content) {
        if (!MVString::isValidUtf8(content)) fail(localized("A text is not UTF-8."));
        object({{"NSString", 1}}, [&] {
            group("+");
            unsharedString(content);
        });
    }

    /// A member of an object: its group and the object.
    void member(const Value& content) {
        group("@");
        value(content);
    }
    void textMember(std::string_view content) {
        group("@");
        text(content);
    }

    void value(const Value& content) {
        std::visit([&](const auto& alternative) { write(alternative); }, content.variant());
    }

    void write(std::monostate) {
        object({{"NSNull", 0}}, [] {});
    }
    void write(const std::string& content) { text(content); }
    void write(std::int64_t content) {
        number("q", [&] { integer(content); });
    }
    void write(double content) {
        number("d", [&] { real(content, 8); });
    }
    void write(bool content) {
        number("c", [&] { byte(content ? 1 : 0); });
    }
    template <class Body>
    void number(std::string_view type, Body body) {
        object({{"NSNumber", 0}, {"NSValue", 0}}, [&] {
            group("*");
            cString(type);
            group(type);
            body();
        });
    }
    void write(Date content) {
        object({{"NSDate", 0}}, [&] {
            group("d");
            real(content.secondsSince2001, 8);
        });
    }
    void write(const Data& content) {
        object({{"NSData", 0}}, [&] { bytes(content.bytes); });
    }
    void write(const Array& content) {
        object({{"NSArray", 0}}, [&] {
            count(content.size());
            for (const Value& element : content) member(element);
        });
    }
    void write(const Dictionary& content) {
        object({{"NSDictionary", 0}}, [&] {
            count(content.size());
            for (const auto& [key, element] : content) {
                textMember(key);
                member(element);
            }
        });
    }

    void write(const ImageData& content) {
        std::optional<std::string> converted;
        if (pictures::kindOf(content.bytes) != "TIFF") {
            const auto picture = pictures::decode(content.bytes);
            if (!picture) return fail(localized("A picture cannot be decoded."));
            converted = pictures::encodeTiff(*picture);
        }
        const std::string& tiff = converted ? *converted : content.bytes;
        double width = content.width, height = content.height;
        if (width == 0 || height == 0) {
            const auto pixels = pictures::sizeOf(tiff).value_or(pictures::Size{});
            width = pixels.width;
            height = pixels.height;
        }
        image(tiff, width, height);
    }

    void image(std::string_view tiff, double width, double height) {
        object({{"NSImage", 46}}, [&] {
            nilObject();  // the name
            for (const unsigned value : {0, 0, 1, 0, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0}) flag(value);
            group("ff");
            real(width, 4);
            real(height, 4);
            group("s");
            integer(1);
            flag(0);
            group("@");
            object({{"NSBitmapImageRep", 17}, {"NSImageRep", 17}}, [&] { bytes(tiff); });
            group("@");
            grey(0, 0);
            nilObject();  // the delegate
        });
    }

    void grey(double whiteness, double opacity) {
        object({{"NSColor", 0}}, [&] {
            flag(3);
            group("ff");
            real(whiteness, 4);
            real(opacity, 4);
        });
    }

    void write(const StyledText& content) {
        std::size_t covered = 0;
        for (const StyledRun& run : content.runs) covered += run.length;
        if (MVString::isValidUtf8(content.text) && covered != utf16(content.text).size()) {
            return fail(localized("The runs of a styled text do not sum to its length."));
        }
        object({{"NSAttributedString", 0}}, [&] {
            textMember(content.text);
            std::map<std::tuple<bool, bool, std::string, double, std::string, bool>, std::size_t> styles;
            for (const StyledRun& run : content.runs) {
                if (run.length == 0) continue;
                const auto [style, isNew] = styles.try_emplace(
                    {run.bold, run.italic, run.font, run.fontSize, run.link, run.white}, styles.size() + 1);
                group("iI");
                integer(static_cast<std::int64_t>(style->second));
                integer(static_cast<std::int64_t>(run.length));
                if (isNew) attributes(run);
            }
        });
    }

    void attributes(const StyledRun& run) {
        const bool hasFont = run.bold || run.italic || !run.font.empty() || run.fontSize != 0;
        group("@");
        object({{"NSDictionary", 0}}, [&] {
            count((hasFont ? 1U : 0U) + (run.white ? 1U : 0U) + (run.link.empty() ? 0U : 1U));
            if (hasFont) {
                textMember("NSFont");
                group("@");
                font(faceName(run), run.fontSize > 0 ? run.fontSize : 12);
            }
            if (run.white) {
                textMember("NSColor");
                group("@");
                grey(1, 1);
            }
            if (!run.link.empty()) {
                textMember("NSLink");
                group("@");
                object({{"NSURL", 0}}, [&] {
                    flag(0);
                    textMember(run.link);
                });
            }
        });
    }

    void font(const std::string& name, double size) {
        if (!MVString::isValidUtf8(name)) return fail(localized("A text is not UTF-8."));
        const std::u16string units = u"\ufeff" + utf16(name);
        std::string blob;
        // Little-endian in archives of either order.
        const auto put = [&](std::size_t value, unsigned width) {
            for (unsigned i = 0; i < width; ++i)
                blob += static_cast<char>(static_cast<unsigned char>(value >> 8 * i));
        };
        put(6, 4);
        put(2 * units.size(), 4);
        for (const char16_t unit : units) put(unit, 2);
        blob.resize((blob.size() + 3) / 4 * 4, '\0');
        object({{"NSFont", 30}}, [&] {
            bytes(blob);
            group("f");
            real(size, 4);
            for (const unsigned value : {0, 1, 0, 0}) flag(value);
        });
    }

    const ByteOrder order_;
    std::string out_;
    Result<> soFar_;
    int depth_ = 0;
    std::size_t slots_ = 0;  // numbers given to objects, classes and C strings
    std::size_t sharedCount_ = 0;
    std::array<std::size_t, 256> letters_{};  // numbers of shared strings of one letter, plus one
    std::unordered_map<std::string, std::size_t> strings_;  // the other shared strings
    std::vector<Slot> classes_, cStrings_;                  // names and types of this file: a handful
};

}  // namespace

Result<std::string> archive(const Value& root, ByteOrder order) {
    return Writer(order).write(root);
}

}  // namespace morvane::typed_stream
