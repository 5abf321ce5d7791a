#include "ports/recipe_signature.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

#include "foundation/localization.h"
#include "ports/typed_stream.h"

namespace morvane::recipe_signature {

namespace {

constexpr const char* keyName = "Author Key";
constexpr const char* signatureName = "Author Signature";
/// What is signed is nothing that the key could be asked to sign for another purpose.
constexpr std::string_view purpose = "Morvane port description 1\n";

void appendNumber(std::string& bytes, std::uint64_t number) {
    for (int shift = 0; shift < 64; shift += 8) bytes += static_cast<char>(number >> shift & 0xFFU);
}

void appendText(std::string& bytes, std::string_view text) {
    appendNumber(bytes, text.size());
    bytes += text;
}

void append(std::string& bytes, const Value& value);

/// A letter for the kind, and lengths before all that has one: no two values have the same bytes.
struct Writer {
    std::string& bytes;

    void operator()(std::monostate) const { bytes += 'n'; }
    void operator()(const std::string& text) const {
        bytes += 't';
        appendText(bytes, text);
    }
    void operator()(std::int64_t number) const {
        bytes += 'i';
        appendNumber(bytes, static_cast<std::uint64_t>(number));
    }
    void operator()(double number) const {
        bytes += 'r';
        appendNumber(bytes, std::bit_cast<std::uint64_t>(number));
    }
    void operator()(bool flag) const { bytes += flag ? 'y' : 'f'; }
    void operator()(const Date& date) const {
        bytes += 'd';
        appendNumber(bytes, std::bit_cast<std::uint64_t>(date.secondsSince2001));
    }
    void operator()(const Data& data) const {
        bytes += 'b';
        appendText(bytes, data.bytes);
    }
    void operator()(const Array& list) const {
        bytes += 'l';
        appendNumber(bytes, list.size());
        for (const Value& element : list) append(bytes, element);
    }
    void operator()(const Dictionary& dictionary) const {
        bytes += 'k';
        appendNumber(bytes, dictionary.size());
        std::vector<const Dictionary::Entry*> entries;
        for (const Dictionary::Entry& entry : dictionary) entries.push_back(&entry);
        std::ranges::sort(entries, {}, [](const auto* entry) -> const std::string& { return entry->key; });
        for (const Dictionary::Entry* entry : entries) {
            appendText(bytes, entry->key);
            append(bytes, entry->value);
        }
    }
    void operator()(const ImageData& image) const {
        bytes += 'p';
        appendNumber(bytes, std::bit_cast<std::uint64_t>(image.width));
        appendNumber(bytes, std::bit_cast<std::uint64_t>(image.height));
        appendText(bytes, image.bytes);
    }
    void operator()(const StyledText& styled) const {
        bytes += 's';
        appendText(bytes, styled.text);
        appendNumber(bytes, styled.runs.size());
        for (const StyledRun& run : styled.runs) {
            appendNumber(bytes, run.length);
            bytes += run.bold ? 'y' : 'f';
            bytes += run.italic ? 'y' : 'f';
            bytes += run.white ? 'y' : 'f';
            appendNumber(bytes, std::bit_cast<std::uint64_t>(run.fontSize));
            appendText(bytes, run.font);
            appendText(bytes, run.link);
        }
    }
};

void append(std::string& bytes, const Value& value) {
    std::visit(Writer{bytes}, value.variant());
}

std::string messageOf(Dictionary description) {
    description.erase(signatureName);
    std::string bytes(purpose);
    append(bytes, description);
    return bytes;
}

}  // namespace

Signature signatureOf(const Dictionary& description) {
    if (!description.contains(keyName) && !description.contains(signatureName)) return {};
    const auto* key = description.get<Data>(keyName);
    const auto* signature = description.get<Data>(signatureName);
    if (key == nullptr || signature == nullptr) return {.state = State::invalid};
    const bool fits = signatures::fits(signature->bytes, key->bytes, messageOf(description));
    return {.state = fits ? State::valid : State::invalid, .key = signatures::hex(key->bytes)};
}

std::string sentenceOf(const Signature& signature) {
    switch (signature.state) {
        case State::valid:
            return localized(
                "It is signed with the key %@. Whoever has that key has made it, and nobody has "
                "changed it since.",
                {signature.key});
        case State::invalid:
            return localized(
                "Its signature does not fit: it was changed after it was signed, or signed by somebody else "
                "than it says.");
        default:
            return localized("Nobody has signed it.");
    }
}

Result<std::string> signedArchive(const signatures::PrivateKey& key, const Dictionary& description) {
    // Writing may convert pictures: what is signed is what a reader gets.
    const auto written = typed_stream::archive(Value(description));
    if (!written) return written.error();
    const auto read = typed_stream::unarchive(*written);
    if (!read) return read.error();
    auto settled = *read->as<Dictionary>();
    settled.set(keyName, Data{key.publicKey()});
    settled.set(signatureName, Data{key.sign(messageOf(settled))});
    return typed_stream::archive(Value(settled));
}

}  // namespace morvane::recipe_signature
