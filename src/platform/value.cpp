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

const Value* Dictionary::find(std::string_view key) const {
    const auto found = index_.find(key);
    return found == index_.end() ? nullptr : &entries_[found->second].value;
}

Value* Dictionary::find(std::string_view key) {
    return const_cast<Value*>(std::as_const(*this).find(key));
}

void Dictionary::set(std::string key, Value value) {
    const auto [place, isNew] = index_.try_emplace(key, entries_.size());
    if (isNew) {
        entries_.push_back({std::move(key), std::move(value)});
    } else {
        entries_[place->second].value = std::move(value);
    }
}

void Dictionary::erase(std::string_view key) {
    const auto found = index_.find(key);
    if (found == index_.end()) return;
    const std::size_t position = found->second;
    index_.erase(found);
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(position));
    for (std::size_t i = position; i < entries_.size(); ++i) index_.find(entries_[i].key)->second = i;
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
