#include "platform/value.h"

#include <algorithm>
#include <array>
#include <utility>

namespace morvane {

Dictionary::Dictionary() = default;
Dictionary::Dictionary(const Dictionary&) = default;
Dictionary::Dictionary(Dictionary&&) noexcept = default;
Dictionary& Dictionary::operator=(const Dictionary&) = default;
Dictionary& Dictionary::operator=(Dictionary&&) noexcept = default;
Dictionary::~Dictionary() = default;

Dictionary::Dictionary(std::initializer_list<Entry> entries) {
    entries_.reserve(entries.size());
    for (const Entry& entry : entries) set(entry.key, entry.value);
}

namespace {

// Entries that are looked for one by one, without an index: most dictionaries are small and read once, and an
// index costs more than all of their look-ups.
constexpr std::size_t mostWithoutIndex = 12;

}  // namespace

const Value* Dictionary::find(std::string_view key) const {
    if (index_.empty()) {
        const auto entry = std::ranges::find(entries_, key, &Entry::key);
        return entry == entries_.end() ? nullptr : &entry->value;
    }
    const auto found = index_.find(key);
    return found == index_.end() ? nullptr : &entries_[found->second].value;
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
    for (std::size_t place = index_.size(); place < entries_.size(); ++place)
        index_.emplace(entries_[place].key, place);
}

void Dictionary::erase(std::string_view key) {
    const auto entry = std::ranges::find(entries_, key, &Entry::key);
    if (entry == entries_.end()) return;
    // Before the entry goes: the given key may be its own.
    const bool isIndexed = !index_.empty();
    if (isIndexed) index_.erase(index_.find(key));
    auto moved = entries_.erase(entry);
    for (; isIndexed && moved != entries_.end(); ++moved) --index_.find(moved->key)->second;
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
