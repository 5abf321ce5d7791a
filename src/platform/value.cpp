#include "platform/value.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <utility>

namespace morvane {

namespace {

// Entries that are looked for one by one, without an index: most dictionaries are small and read once, and an
// index costs more than all of their look-ups.
constexpr std::size_t mostWithoutIndex = 12;

struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
};

}  // namespace

struct Dictionary::Index {
    std::unordered_map<std::string, std::size_t, Hash, std::equal_to<>> places;
};

Dictionary::Dictionary() = default;
Dictionary::Dictionary(const Dictionary& other)
    : entries_(other.entries_), index_(other.index_ ? std::make_unique<Index>(*other.index_) : nullptr) {}
Dictionary::Dictionary(Dictionary&&) noexcept = default;
Dictionary& Dictionary::operator=(const Dictionary& other) {
    return *this = Dictionary(other);
}
Dictionary& Dictionary::operator=(Dictionary&&) noexcept = default;
Dictionary::~Dictionary() = default;

Dictionary::Dictionary(std::initializer_list<Entry> entries) {
    entries_.reserve(entries.size());
    for (const Entry& entry : entries) set(entry.key, entry.value);
}

const Value* Dictionary::find(std::string_view key) const {
    if (!index_) {
        const auto entry = std::ranges::find(entries_, key, &Entry::key);
        return entry == entries_.end() ? nullptr : &entry->value;
    }
    const auto found = index_->places.find(key);
    return found == index_->places.end() ? nullptr : &entries_[found->second].value;
}

Value* Dictionary::find(std::string_view key) {
    return const_cast<Value*>(std::as_const(*this).find(key));
}

void Dictionary::set(std::string key, Value value) {
    if (Value* const present = find(key)) {
        *present = std::move(value);
        return;
    }
    if (entries_.empty()) entries_.reserve(4);
    entries_.push_back({std::move(key), std::move(value)});
    if (entries_.size() <= mostWithoutIndex) return;
    if (!index_) index_ = std::make_unique<Index>();
    for (std::size_t place = index_->places.size(); place < entries_.size(); ++place)
        index_->places.emplace(entries_[place].key, place);
}

void Dictionary::erase(std::string_view key) {
    const auto entry = std::ranges::find(entries_, key, &Entry::key);
    if (entry == entries_.end()) return;
    // Before the entry goes: the given key may be its own.
    if (index_) index_->places.erase(index_->places.find(key));
    auto moved = entries_.erase(entry);
    for (; index_ && moved != entries_.end(); ++moved) --index_->places.find(moved->key)->second;
}

void Dictionary::reserve(std::size_t size) {
    entries_.reserve(size);
}

std::size_t Dictionary::size() const {
    return entries_.size();
}
std::vector<Dictionary::Entry>::const_iterator Dictionary::begin() const {
    return entries_.begin();
}
std::vector<Dictionary::Entry>::const_iterator Dictionary::end() const {
    return entries_.end();
}

bool Dictionary::operator==(const Dictionary& other) const {
    return size() == other.size() && std::all_of(begin(), end(), [&](const Entry& entry) {
               const Value* value = other.find(entry.key);
               return value != nullptr && *value == entry.value;
           });
}

std::string_view Value::kind() const {
    static constexpr std::array<std::string_view, std::variant_size_v<Variant>> words = {
        "null", "text", "integer",    "real",  "boolean",    "date",
        "data", "list", "dictionary", "image", "styled text"};
    return words[variant_.index()];
}

bool Value::operator==(const Value& other) const {
    return variant_ == other.variant_;
}

}  // namespace morvane
