#include "ports/archive_graph.h"

#include <algorithm>
#include <array>
#include <bit>
#include <memory>
#include <string>

#include "foundation/localization.h"

namespace morvane::typed_stream {
namespace {

/// Up to two items for each byte are counted in 32 bits.
constexpr std::size_t longestArchive = (std::size_t{1} << 31U) - 1;
constexpr int deepestType = 16;  // arrays and structures within a type

enum Tag : unsigned char {
    integer16 = 0x81,
    integer32 = 0x82,
    real = 0x83,
    fresh = 0x84,
    nil = 0x85,
    end = 0x86,
    integer64 = 0x87
};

// References are stored below the integers that need a tag.
constexpr std::int64_t firstReference = -110;

struct KnownClass {
    std::string_view name;
    ClassKind kind;
};
// NSDecimalNumber descends from NSNumber and has fields of its own; nothing shows which.
constexpr std::array knownClasses{
    KnownClass{"NSString", ClassKind::string},     KnownClass{"NSArray", ClassKind::list},
    KnownClass{"NSSet", ClassKind::list},          KnownClass{"NSDictionary", ClassKind::dictionary},
    KnownClass{"NSValue", ClassKind::number},      KnownClass{"NSData", ClassKind::data},
    KnownClass{"NSDate", ClassKind::date},         KnownClass{"NSNull", ClassKind::null},
    KnownClass{"NSURL", ClassKind::url},           KnownClass{"NSAttributedString", ClassKind::styledText},
    KnownClass{"NSFont", ClassKind::font},         KnownClass{"NSImage", ClassKind::image},
    KnownClass{"NSImageRep", ClassKind::imageRep}, KnownClass{"NSDecimalNumber", ClassKind::unknown},
};

/// One place of a type string, compiled once however often groups name the type.
struct Place {
    char code = 0;  // '{' for a structure, '[' for an array
    std::size_t count = 0;
    std::vector<Place> inner;
};

std::optional<std::vector<Place>> compiledPlaces(std::string_view& rest, char closing, int depth);

std::optional<Place> compiledPlace(std::string_view& rest, int depth) {
    Place place{rest.front(), 0, {}};
    rest.remove_prefix(1);
    if (std::string_view("cCBsSiIlLqQfd@#*+:%!").find(place.code) != std::string_view::npos) return place;
    if (depth == 0) return std::nullopt;
    if (place.code == '{') {
        const std::size_t nameEnd = rest.find_first_of("=}");
        if (nameEnd == std::string_view::npos || rest[nameEnd] == '}') return std::nullopt;
        rest.remove_prefix(nameEnd + 1);
        auto inner = compiledPlaces(rest, '}', depth - 1);
        if (!inner) return std::nullopt;
        place.inner = std::move(*inner);
        return place;
    }
    if (place.code != '[') return std::nullopt;
    std::size_t digits = 0;
    for (; digits < rest.size() && rest[digits] >= '0' && rest[digits] <= '9'; ++digits) {
        if (digits == 18) return std::nullopt;
        place.count = place.count * 10 + static_cast<std::size_t>(rest[digits] - '0');
    }
    rest.remove_prefix(digits);
    auto inner = compiledPlaces(rest, ']', depth - 1);
    if (digits == 0 || !inner || inner->size() != 1) return std::nullopt;
    place.inner = std::move(*inner);
    return place;
}

/// The places up to the closing character, or to the end of the text when there is none.
std::optional<std::vector<Place>> compiledPlaces(std::string_view& rest, char closing, int depth) {
    std::vector<Place> places;
    while (!rest.empty() && (closing == 0 || rest.front() != closing)) {
        auto place = compiledPlace(rest, depth);
        if (!place) return std::nullopt;
        if (place->code != '!') places.push_back(std::move(*place));
    }
    if (closing == 0) return places;
    if (rest.empty()) return std::nullopt;
    rest.remove_prefix(1);
    return places;
}

/// Reads with a sticky failure: after the first one every read gives nothing, and loops end.
class Reader {
  public:
    explicit Reader(std::string_view archive) : archive_(archive) { graph_.archive = archive; }

    Result<Graph> read() {
        if (archive_.size() > longestArchive) return Failure{localized("The archive is too large.")};
        makeRoom();
        readHeader();
        while (good() && at_ < archive_.size()) readGroup(0);
        graph_.groups = finished(0);
        if (good() && graph_.groups.count == 0) fail("there is no root");
        if (!soFar_) return soFar_.error();
        return std::move(graph_);
    }

  private:
    struct SharedString {
        Piece text;
        std::unique_ptr<const std::vector<Place>> places;  // once used as a type; stays when the text moves
    };
    enum class SlotKind : std::uint8_t { object, classes, text };
    struct Slot {
        SlotKind kind;
        std::uint32_t index;
    };

    /// For what an archive of that length usually holds, so that nothing of it moves while it grows. Room that
    /// stays empty is never touched.
    void makeRoom() {
        constexpr std::size_t mostItems = std::size_t{1} << 25U;
        const std::size_t items = std::min(archive_.size() / 4, mostItems);
        graph_.items.reserve(items);
        graph_.objects.reserve(items / 4);
        slots_.reserve(items / 4);
    }

    bool good() const { return soFar_.has_value(); }
    std::size_t left() const { return archive_.size() - at_; }

    void fail(std::string_view what) {
        if (!soFar_) return;
        soFar_ = Failure{
            localized("The archive is damaged at byte %@: %@.", {std::to_string(at_), localized(what)})};
        at_ = archive_.size();
    }

    /// After a failure nothing is left, and that is no other one.
    unsigned char peek() {
        if (left() != 0) return static_cast<unsigned char>(archive_[at_]);
        fail("it ends too early");
        return 0;
    }

    unsigned char byte() {
        const unsigned char result = peek();
        if (left() != 0) ++at_;
        return result;
    }

    bool takes(Tag tag) {
        if (peek() != tag) return false;
        ++at_;
        return true;
    }

    std::string_view raw(std::uint64_t length) {
        if (length > left()) {
            fail("a length is beyond its end");
            return {};
        }
        const std::string_view result = archive_.substr(at_, static_cast<std::size_t>(length));
        at_ += result.size();
        return result;
    }

    std::uint64_t word(std::size_t width) {
        const std::string_view bytes = raw(width);
        std::uint64_t result = 0;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            const std::size_t from = graph_.order == ByteOrder::big ? i : bytes.size() - 1 - i;
            result = result << 8 | static_cast<unsigned char>(bytes[from]);
        }
        return result;
    }

    std::int64_t integer() {
        const unsigned char head = byte();
        switch (head) {
            case Tag::integer16:
                return static_cast<std::int16_t>(word(2));
            case Tag::integer32:
                return static_cast<std::int32_t>(word(4));
            case Tag::integer64:
                return static_cast<std::int64_t>(word(8));
            default:
                break;
        }
        if (head >= 0x80 && head <= 0x91) fail("an integer was expected");
        return static_cast<signed char>(head);
    }

    double floating(std::size_t width) {
        if (!takes(Tag::real)) return static_cast<double>(integer());
        const std::uint64_t bits = word(width);
        return width == 4 ? static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)))
                          : std::bit_cast<double>(bits);
    }

    std::optional<std::string_view> unsharedString() {
        if (takes(Tag::nil)) return std::nullopt;
        const std::int64_t length = integer();
        return raw(static_cast<std::uint64_t>(length));  // negative lengths are beyond every end
    }

    /// The index of what a reference names, in a table of that size.
    std::size_t reference(std::size_t tableSize) {
        const std::int64_t stored = integer();
        if (stored < firstReference || stored >= static_cast<std::int64_t>(tableSize) + firstReference) {
            fail("a reference is out of range");
            return 0;
        }
        return static_cast<std::size_t>(stored - firstReference);
    }

    [[nodiscard]] Piece pieceOf(std::string_view bytes) const {
        if (bytes.empty()) return {};
        return {narrow(static_cast<std::size_t>(bytes.data() - archive_.data())), narrow(bytes.size())};
    }
    static std::uint32_t narrow(std::size_t number) { return static_cast<std::uint32_t>(number); }

    /// An index that there is not. An optional would go through memory, byte by byte, at every value.
    static constexpr std::size_t none = std::size_t(-1);

    /// The index into `strings_`; none for nil, and after a failure.
    std::size_t sharedString() {
        if (takes(Tag::nil)) return none;
        if (takes(Tag::fresh)) {
            const auto text = unsharedString();
            if (!text) fail("a shared text is nil");
            if (!good()) return none;
            strings_.push_back({pieceOf(*text), nullptr});
            return strings_.size() - 1;
        }
        const std::size_t index = reference(strings_.size());
        return good() ? index : none;
    }

    /// None after a failure.
    std::size_t referenceTo(SlotKind kind) {
        const std::size_t slot = reference(slots_.size());
        if (good() && slots_[slot].kind != kind) fail("a reference is of the wrong kind");
        return good() ? slots_[slot].index : none;
    }

    void addCString() {
        if (takes(Tag::nil)) return add(std::monostate());
        std::size_t index = none;
        if (takes(Tag::fresh)) {
            slots_.push_back({SlotKind::text, 0});
            const std::size_t slot = slots_.size() - 1;
            index = sharedString();
            if (index == none) fail("a C string is nil");
            slots_[slot].index = narrow(index);
        } else {
            index = referenceTo(SlotKind::text);
        }
        if (good()) add(Text{strings_[index].text});
    }

    /// A class with its chain: written out as far as it is new, derived class first. None for nil, and after a
    /// failure.
    std::size_t classChain() {
        std::vector<std::size_t> written;
        std::size_t ancestor = none;
        for (;;) {
            if (takes(Tag::nil)) break;
            if (!takes(Tag::fresh)) {
                ancestor = referenceTo(SlotKind::classes);
                if (good() && graph_.classes[ancestor].chainLength == 0) fail("a class is its own ancestor");
                break;
            }
            if (written.size() == longestChain) fail("a class has too many ancestors");
            slots_.push_back({SlotKind::classes, narrow(graph_.classes.size())});
            written.push_back(graph_.classes.size());
            const auto name = sharedString();
            if (name == none) fail("a class has no name");
            const std::int64_t version = integer();
            if (!good()) return none;
            graph_.classes.push_back(
                {graph_.in(strings_[name].text), version, std::nullopt, ClassKind::unknown, 0});
        }
        if (!good()) return none;
        for (; !written.empty(); written.pop_back()) {
            finishClass(graph_.classes[written.back()], ancestor);
            ancestor = written.back();
        }
        return ancestor;
    }

    void finishClass(Class& fresh, std::size_t superclass) {
        fresh.chainLength = 1;
        if (superclass != none) {
            fresh.superclass = superclass;
            fresh.chainLength += graph_.classes[superclass].chainLength;
            fresh.kind = graph_.classes[superclass].kind;
        }
        if (fresh.chainLength > longestChain) fail("a class has too many ancestors");
        const auto* known = std::find_if(knownClasses.begin(), knownClasses.end(),
                                         [&](const KnownClass& entry) { return entry.name == fresh.name; });
        if (known != knownClasses.end()) fresh.kind = known->kind;
    }

    void addObject(int depth) {
        if (takes(Tag::nil)) return add(std::monostate());
        if (!takes(Tag::fresh)) return addIndex<ObjectIndex>(referenceTo(SlotKind::object));
        if (depth == deepestNesting) fail("it nests too deeply");
        const std::size_t index = graph_.objects.size();
        graph_.objects.push_back({narrow(slots_.size()), 0, {}});
        const std::size_t first = open_.size();
        slots_.push_back({SlotKind::object, narrow(index)});
        const std::size_t classIndex = classChain();
        if (classIndex == none) fail("an object has no class");
        while (good() && !takes(Tag::end)) readGroup(depth + 1);
        if (!good()) return;
        graph_.objects[index].classIndex = narrow(classIndex);
        graph_.objects[index].fields = finished(first);
        add(ObjectIndex{narrow(index)});
    }

    const std::vector<Place>* placesOf(std::size_t string) {
        SharedString& type = strings_[string];
        if (type.places) return type.places.get();
        std::string_view rest = graph_.in(type.text);
        auto places = compiledPlaces(rest, 0, deepestType);
        if (!places) {
            fail("a type is unknown");
            return nullptr;
        }
        type.places = std::make_unique<const std::vector<Place>>(*std::move(places));
        return type.places.get();
    }

    void readGroup(int depth) {
        const std::size_t type = sharedString();
        if (type == none) fail("a group has no type");
        if (!good()) return;
        add(GroupStart{strings_[type].text});
        const std::vector<Place>* places = placesOf(type);
        for (std::size_t i = 0; good() && i < places->size(); ++i) addValue((*places)[i], depth);
    }

    /// Empty arrays take no bytes and may stand in a type in any number: what they may become is bounded as
    /// well. The item is made where it stays: to copy one that has just been written holds the processor up.
    template <class T>
    void add(const T& item) {
        if (++itemCount_ > 2 * archive_.size()) fail("it holds more values than bytes");
        if (good()) open_.emplace_back(item);
    }
    /// Nil for nothing.
    template <class Index>
    void addIndex(std::size_t index) {
        if (index != none) return add(Index{narrow(index)});
        add(std::monostate());
    }
    void addText(std::optional<std::string_view> text) {
        if (text) return add(Text{pieceOf(*text)});
        add(std::monostate());
    }

    /// Moves the open items from that place on to where they stay.
    ItemRange finished(std::size_t first) {
        const ItemRange range{narrow(graph_.items.size()), narrow(open_.size() - first)};
        const auto begin = open_.begin() + static_cast<std::ptrdiff_t>(first);
        graph_.items.insert(graph_.items.end(), begin, open_.end());
        open_.erase(begin, open_.end());
        return range;
    }

    void addValue(const Place& place, int depth) {
        switch (place.code) {
            case 'c':
                return add(std::int64_t{static_cast<signed char>(byte())});
            case 'C':
            case 'B':
                return add(std::int64_t{byte()});
            case 's':
                return add(std::int64_t{static_cast<std::int16_t>(integer())});
            case 'S':
                return add(std::int64_t{static_cast<std::uint16_t>(integer())});
            case 'i':
                return add(std::int64_t{static_cast<std::int32_t>(integer())});
            case 'I':
                return add(std::int64_t{static_cast<std::uint32_t>(integer())});
            case 'l':
            case 'q':
                return add(integer());
            case 'L':
            case 'Q': {
                const std::int64_t number = integer();
                if (number < 0) return add(static_cast<double>(static_cast<std::uint64_t>(number)));
                return add(number);
            }
            case 'f':
                return add(floating(4));
            case 'd':
                return add(floating(8));
            case '@':
                return addObject(depth);
            case '#':
                return addIndex<ClassIndex>(classChain());
            case '*':
                return addCString();
            case '+':
                return addText(unsharedString());
            case ':':
            case '%': {
                const auto index = sharedString();
                return index != none ? add(Text{strings_[index].text}) : add(std::monostate());
            }
            default:
                return addAggregate(place, depth);
        }
    }

    void addAggregate(const Place& place, int depth) {
        const bool isArray = place.code == '[';
        if (isArray && std::string_view("cCB").find(place.inner.front().code) != std::string_view::npos) {
            return add(RawBytes{pieceOf(raw(place.count))});
        }
        const std::size_t count = isArray ? place.count : place.inner.size();
        if (isArray && count > left()) fail("a count is beyond its end");
        const std::size_t first = open_.size();
        for (std::size_t i = 0; good() && i < count; ++i) addValue(place.inner[isArray ? 0 : i], depth);
        if (!good()) return;
        graph_.lists.push_back(finished(first));
        add(ListIndex{narrow(graph_.lists.size() - 1)});
    }

    void readHeader() {
        const unsigned char version = byte();
        const std::string_view signature = raw(byte());
        if (good() && signature == "typedstream")
            graph_.order = ByteOrder::big;
        else if (good() && signature != "streamtyped")
            fail("it does not begin like an archive");
        if (good() && version != 4) fail("its version is unknown");
        if (integer() != 1000) fail("its version is unknown");
    }

    const std::string_view archive_;
    std::size_t at_ = 0;
    Result<> soFar_;
    std::size_t itemCount_ = 0;
    std::vector<SharedString> strings_;
    std::vector<Slot> slots_;
    std::vector<Item> open_;  // of the objects and lists that are being read, outermost first
    Graph graph_;
};

}  // namespace

Result<Graph> readGraph(std::string_view archive) {
    return Reader(archive).read();
}

}  // namespace morvane::typed_stream
