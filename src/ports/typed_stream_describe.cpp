#include <algorithm>
#include <span>
#include <unordered_set>
#include <utility>

#include "foundation/localization.h"
#include "foundation/text.h"
#include "ports/archive_graph.h"
#include "ports/typed_stream.h"

namespace morvane::typed_stream {
namespace {

/// An initializer list would copy whole subtrees at every level.
Dictionary dictionaryOf(const char* firstKey, Value first, const char* secondKey, Value second) {
    Dictionary result;
    result.set(firstKey, std::move(first));
    result.set(secondKey, std::move(second));
    return result;
}

class Describer {
  public:
    Describer(const Graph& graph, std::size_t archiveLength)
        : graph_(graph), bytesLeft_(32 * archiveLength + 65536) {}

    Result<Value> whole() {
        Dictionary result;
        result.set("byteOrder", graph_.order == ByteOrder::little ? "little" : "big");
        result.set("streamerVersion", 4);
        result.set("systemVersion", 1000);
        result.set("groups", groups(graph_.in(graph_.groups)));
        if (!good_) return Failure{localized("The archive holds too much to be shown.")};
        return Value(std::move(result));
    }

  private:
    /// Types, class names and shared texts stand in many places; each is paid for.
    Value text(std::string_view bytes) {
        if (!spend(bytes.size())) return {};
        if (!MVString::isValidUtf8(bytes)) return Data{std::string(bytes)};
        return bytes;
    }

    bool spend(std::size_t bytes) {
        if (bytes > bytesLeft_ || nodesLeft_ == 0) good_ = false;
        if (!good_) return false;
        bytesLeft_ -= bytes;
        --nodesLeft_;
        return true;
    }

    Array groups(std::span<const Item> items) {
        Array result;
        const auto isStart = [](const Item& item) { return std::holds_alternative<GroupStart>(item); };
        result.reserve(static_cast<std::size_t>(std::ranges::count_if(items, isStart)));
        for (std::size_t i = 0; good_ && i < items.size();) {
            const auto& start = std::get<GroupStart>(items[i]);
            Value type = text(graph_.in(start.type));
            Array values;
            for (++i; good_ && i < items.size() && !isStart(items[i]); ++i) {
                values.push_back(value(items[i]));
            }
            result.push_back(dictionaryOf("type", std::move(type), "values", std::move(values)));
        }
        return result;
    }

    Array classes(std::size_t first) {
        Array result;
        for (std::optional<std::size_t> at = first; good_ && at; at = graph_.classes[*at].superclass) {
            const Class& described = graph_.classes[*at];
            result.push_back(dictionaryOf("name", text(described.name), "version", described.version));
        }
        return result;
    }

    Value object(ObjectIndex index) {
        const Object& described = graph_.at(index);
        const auto number = static_cast<std::int64_t>(described.number);
        if (!shown_.insert(&described).second) return Dictionary{{"reference", number}};
        // The nesting is the stream's, which is bounded: an object is shown where its fields lie.
        Dictionary result = dictionaryOf("object", number, "class", classes(described.classIndex));
        result.set("fields", groups(graph_.in(described.fields)));
        return result;
    }

    Value value(const Item& item) {
        if (!spend(0)) return {};
        if (const auto* integer = std::get_if<std::int64_t>(&item)) return *integer;
        if (const auto* real = std::get_if<double>(&item)) return *real;
        if (const auto* shown = std::get_if<Text>(&item)) return text(graph_.in(shown->bytes));
        if (const auto* raw = std::get_if<RawBytes>(&item)) {
            return spend(raw->bytes.length) ? Value(Data{std::string(graph_.in(raw->bytes))}) : Value();
        }
        if (const auto* index = std::get_if<ObjectIndex>(&item)) return object(*index);
        if (const auto* index = std::get_if<ClassIndex>(&item)) {
            return Dictionary{{"class", classes(static_cast<std::size_t>(*index))}};
        }
        if (const auto* index = std::get_if<ListIndex>(&item)) {
            Array values;
            for (const Item& inner : graph_.in(graph_.lists[static_cast<std::size_t>(*index)])) {
                if (good_) values.push_back(value(inner));
            }
            return values;
        }
        return {};
    }

    const Graph& graph_;
    std::size_t bytesLeft_;
    std::size_t nodesLeft_ = 250'000;
    bool good_ = true;
    std::unordered_set<const Object*> shown_;
};

}  // namespace

Result<Value> describe(std::string_view bytes) {
    auto graph = readGraph(bytes);
    if (!graph) return graph.error();
    return Describer(*graph, bytes.size()).whole();
}

}  // namespace morvane::typed_stream
