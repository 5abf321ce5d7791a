// platform/value.h: the one value type of property lists, archives and the defaults store.
//
// A plain tree of values, copied by value; any thread, no sharing. Readers bound the nesting, so the
// recursive operations here need not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace morvane {

class Value;
using Array = std::vector<Value>;

struct Data {
    std::string bytes;
    bool operator==(const Data&) const = default;
};

struct Date {
    double secondsSince2001 = 0;  ///< seconds since 2001-01-01 00:00 UTC
    bool operator==(const Date&) const = default;
};

/// An encoded picture (TIFF, PNG, JPEG, ICNS...), kept as it came, with its size in points (0 when not
/// known).
struct ImageData {
    std::string bytes;
    double width = 0;
    double height = 0;
    bool operator==(const ImageData&) const = default;
};

/// One run of equally formatted characters of a `StyledText`.
struct StyledRun {
    std::size_t length = 0;  ///< in UTF-16 units
    bool bold = false;
    bool italic = false;
    std::string font;     ///< family or PostScript name as stored; empty when none
    double fontSize = 0;  ///< points; 0 when none
    std::string link;     ///< empty when none
    bool white = false;   ///< drawn in white; other colours are not kept
    bool operator==(const StyledRun&) const = default;
};

/// Text with formatting; the runs' lengths sum to the text's length in UTF-16 units (no run for an empty
/// text).
struct StyledText {
    std::string text;
    std::vector<StyledRun> runs;
    bool operator==(const StyledText&) const = default;
};

/// Text keys to values, in the order in which they were first set; look-up takes constant time.
class Dictionary {
  public:
    struct Entry;

    Dictionary();
    Dictionary(std::initializer_list<Entry> entries);
    Dictionary(const Dictionary&);
    Dictionary(Dictionary&&) noexcept;
    Dictionary& operator=(const Dictionary&);
    Dictionary& operator=(Dictionary&&) noexcept;
    ~Dictionary();

    /// The value of the key, or null.
    [[nodiscard]] const Value* find(std::string_view key) const;
    [[nodiscard]] Value* find(std::string_view key);
    [[nodiscard]] bool contains(std::string_view key) const { return find(key) != nullptr; }

    /// Sets the key, keeping its place when it is there already.
    void set(std::string key, Value value);
    /// Makes room for so many entries.
    void reserve(std::size_t size);
    /// Removes the key when it is there; takes linear time.
    void erase(std::string_view key);

    [[nodiscard]] std::size_t size() const;
    [[nodiscard]] bool empty() const { return size() == 0; }
    [[nodiscard]] std::vector<Entry>::const_iterator begin() const;
    [[nodiscard]] std::vector<Entry>::const_iterator end() const;

    /// Equal when both hold equal values under the same keys, whatever the order.
    bool operator==(const Dictionary& other) const;

    /// The value when it has the wanted kind, else null: `dictionary.get<std::string>("Name")`.
    template <class T>
    [[nodiscard]] const T* get(std::string_view key) const;

  private:
    struct Index;

    std::vector<Entry> entries_;
    std::unique_ptr<Index> index_;  ///< places by key; none while there are few
};

class Value {
  public:
    using Variant = std::variant<std::monostate, std::string, std::int64_t, double, bool, Date, Data, Array,
                                 Dictionary, ImageData, StyledText>;

    Value() = default;  ///< the null value, which property lists cannot hold
    Value(const char* text) : variant_(std::string(text)) {}
    Value(std::string text) : variant_(std::move(text)) {}
    Value(std::string_view text) : variant_(std::string(text)) {}
    Value(int number) : variant_(std::int64_t{number}) {}
    Value(std::int64_t number) : variant_(number) {}
    Value(double number) : variant_(number) {}
    Value(bool flag) : variant_(flag) {}
    Value(Date date) : variant_(date) {}
    Value(Data data) : variant_(std::move(data)) {}
    Value(Array array) : variant_(std::move(array)) {}
    Value(Dictionary dictionary) : variant_(std::move(dictionary)) {}
    Value(ImageData image) : variant_(std::move(image)) {}
    Value(StyledText text) : variant_(std::move(text)) {}

    template <class T>
    [[nodiscard]] const T* as() const {
        return std::get_if<T>(&variant_);
    }
    template <class T>
    [[nodiscard]] T* as() {
        return std::get_if<T>(&variant_);
    }
    [[nodiscard]] bool isNull() const { return std::holds_alternative<std::monostate>(variant_); }
    [[nodiscard]] const Variant& variant() const { return variant_; }

    /// The word for the kind of value, for messages: "text", "integer", "list"...
    [[nodiscard]] std::string_view kind() const;

    bool operator==(const Value& other) const;

  private:
    Variant variant_;
};

struct Dictionary::Entry {
    std::string key;
    Value value;
    bool operator==(const Entry&) const = default;
};

template <class T>
const T* Dictionary::get(std::string_view key) const {
    const Value* value = find(key);
    return value != nullptr ? value->as<T>() : nullptr;
}

}  // namespace morvane
