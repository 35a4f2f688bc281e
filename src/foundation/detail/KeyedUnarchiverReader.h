#pragma once
#include <array>
#include <bit>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "foundation/KeyedUnarchiver.h"
#include "foundation/detail/PropertyListReader.h"
#include "foundation/detail/platformClasses.h"

namespace qsml {

/// What is behind KeyedUnarchiver: the archive being read and what was made of its objects so far.
///
/// Everything that is made is charged to a budget before it is made, and every search to another,
/// so that memory and time stay in proportion to the input whatever it holds.
class KeyedUnarchiver::Reader {
public:
    using Item = detail::PlistItem;
    using Type = detail::PlistType;

    explicit Reader(KeyedUnarchiver& unarchiver) : unarchiver_(unarchiver) {}

    Value unarchive(std::span<const std::uint8_t> bytes, Error* error);
    void setClass(const ArchiveClass& archiveClass, std::string_view forClassName);
    /// The first reason stays.
    void fail(std::string_view reason);
    bool hasFailed() const { return failed_; }

    bool contains(std::string_view key);
    /// A number, also one behind a reference; damaged for anything else.
    Item number(std::string_view key) {
        const Item item = isMangled(key) ? takeMangled(key) : take(frame_, key);
        if (item.type == Type::integer || item.isNumber()) return item;
        return item.type == Type::uid ? numberBehind(item, key) : Item{};
    }
    /// The reference under a key; 0 for nil, absent, and for what is no reference.
    std::uint32_t reference(std::string_view key) {
        return referenceOf(isMangled(key) ? takeMangled(key) : take(frame_, key), key);
    }

    String string(std::uint32_t uid, std::string_view key);
    std::optional<Date> date(std::uint32_t uid, std::string_view key);
    /// The value, when it is of that kind.
    Value valueOfKind(std::uint32_t uid, detail::PlatformClass kind, std::string_view key);
    std::optional<OrderedSet<String>> strings(std::uint32_t uid, std::string_view key);
    std::shared_ptr<Object> object(std::uint32_t uid, const ArchiveClass& archiveClass,
                                   std::string_view key);
    Value value(std::uint32_t uid, std::string_view key);

    static std::int64_t integerOf(const Item& number) {
        if (number.type != Type::integer || number.count > 8) return convertedInteger(number);
        if (number.count == 1) return number.body[0];
        return static_cast<std::int64_t>(
            detail::PropertyListReader::bigEndian(number.body, number.count));
    }
    static double realOf(const Item& number) {
        return number.type == Type::real ? realFrom(number) : convertedReal(number);
    }

private:
    static constexpr std::uint32_t none = detail::PropertyListReader::none;

    /// An instance, or another dictionary, and where its reader is.
    struct Frame {
        Item dictionary;
        std::uint32_t cursor = 0;
    };
    struct Class {
        detail::PlatformClass platformClass = detail::PlatformClass::none;
        const ArchiveClass* archiveClass = nullptr;
        bool isKnown() const {
            return archiveClass || platformClass != detail::PlatformClass::none;
        }
    };
    /// What was made of a reference to an object or a collection.
    struct Node {
        Value value;
        std::uint32_t height = 0;
        std::uint64_t weight = 0;  // nodes below, each counted as often as it is reached
        bool isFinished = false;
    };
    /// What a reference is known to be: a tag, and an index into the store of the tag.
    struct Slot {
        enum Tag : std::uint32_t { unknown, text, node, archiveClass };
        static Slot of(Tag tag, std::size_t index) {
            return {static_cast<std::uint32_t>(index) << 2 | tag};
        }
        std::uint32_t tag() const { return bits & 3; }
        std::uint32_t index() const { return bits >> 2; }
        std::uint32_t bits = 0;
    };
    /// One short text that several archives held, and the hash of the one that may replace it:
    /// whoever comes twice in a row, so that texts that occur only once leave it alone.
    struct Repeated {
        std::uint32_t hash = 0, lastSeen = 0;
        String text;
    };
    /// Finds the keys of a large dictionary.
    struct KeyIndex {
        std::vector<std::uint32_t> positions;  // plus one; open addressing
    };
    /// One level of nesting: counts depth on the way down, height and weight on the way up.
    class Level {
    public:
        Level(Reader& reader, std::string_view key);
        ~Level();
        void finish(Node& node) const;

    private:
        Reader& reader_;
        std::uint32_t heightBeside_;
        std::uint64_t weightBeside_;
    };

    // The archive as a whole.
    void begin();
    void end();
    std::uint32_t open(std::span<const std::uint8_t> bytes);
    bool charge(std::uint64_t bytes) {
        if (bytes > budget_) return failOfMemory();
        budget_ -= bytes;
        return !failed_;
    }
    bool work(std::uint64_t steps) {
        if (steps > steps_) return failOfWork();
        steps_ -= steps;
        return !failed_;
    }
    bool failOfMemory();
    bool failOfWork();
    void addWeight(std::uint64_t weight);

    // Keys.
    bool isKey(const Frame& frame, std::uint32_t position, std::string_view key) const {
        return list_.isText(list_.reference(frame.dictionary.body, position), key);
    }
    /// The key's position, first where the last one was left: keys are mostly asked for in their
    /// order.
    std::uint32_t find(Frame& frame, std::string_view key) {
        if (frame.cursor < frame.dictionary.count && isKey(frame, frame.cursor, key) && !failed_)
            return frame.cursor++;
        return findElsewhere(frame, key);
    }
    std::uint32_t findElsewhere(Frame& frame, std::string_view key);
    std::uint32_t search(const Frame& frame, std::string_view key);
    std::uint32_t searchIndex(const Frame& frame, std::string_view key);
    void fill(KeyIndex& index, const Frame& frame);
    /// The value of a key; damaged, without a failure, when the key is absent.
    Item take(Frame& frame, std::string_view key) {
        const std::uint32_t at = frame.cursor, count = frame.dictionary.count;
        if (list_.isCompact() && at < count && !failed_) [[likely]] {
            const std::uint8_t* asked = list_.compactPlace(frame.dictionary.body[at]);
            const std::uint8_t* held = list_.compactPlace(frame.dictionary.body[count + at]);
            if (asked && held && list_.isTextAt(asked, key)) {
                ++frame.cursor;
                const Item item = list_.itemAt(held);
                if (item.type == Type::damaged) failDamaged(key);
                return item;
            }
        }
        return takeElsewhere(frame, key);
    }
    Item takeElsewhere(Frame& frame, std::string_view key);
    std::uint32_t takeReference(Frame& frame, std::string_view key) {
        return referenceOf(take(frame, key), key);
    }
    /// A UID; 0 when it is nil or no UID.
    std::uint32_t referenceOf(const Item& item, std::string_view key) {
        if (item.type != Type::uid) return 0;
        const std::uint32_t uid = detail::PropertyListReader::uid(item);
        return uid < objects_.count ? uid : failOutside(key);
    }
    static bool isMangled(std::string_view key) { return !key.empty() && key.front() == '$'; }
    Item takeMangled(std::string_view key);
    Item numberBehind(const Item& reference, std::string_view key);
    void failDamaged(std::string_view key);
    std::uint32_t failOutside(std::string_view key);

    // Numbers.
    static std::int64_t convertedInteger(const Item& number);
    static double convertedReal(const Item& number);
    static double realFrom(const Item& item) {
        if (item.count == 4)
            return std::bit_cast<float>(detail::PropertyListReader::bigEndian32(item.body));
        return std::bit_cast<double>(detail::PropertyListReader::bigEndian64(item.body));
    }

    // Objects.
    /// An element of $objects; fails the archive when it is damaged.
    Item element(std::uint32_t uid, std::string_view key) {
        if (uid < objects_.count) {
            const Item item = list_.item(list_.reference(objects_.body, uid));
            if (item.type != Type::damaged) return item;
        }
        return failOfObject(key);
    }
    Item failOfObject(std::string_view key);
    std::uint32_t addNode(std::uint32_t uid);
    void meet(const Node& node, std::string_view key);
    String makeString(const Item& item);
    String sharedText(std::string_view text);
    String makeStringOfUTF16(const Item& item);
    Value plain(const Item& item, std::string_view key);
    Value instance(std::uint32_t uid, const Item& item, const Class& itsClass,
                   std::string_view key);
    Value known(std::uint32_t uid, std::string_view key);
    std::shared_ptr<Object> makeObject(std::uint32_t uid, const Item& item,
                                       const ArchiveClass& archiveClass, std::string_view key);

    // Classes.
    Class classOf(const Item& instance, std::string_view key);
    Class describedClass(std::uint32_t uid, std::string_view key);
    Class classNamed(std::string_view name);

    // Platform values.
    Value stringContent(Frame& frame);
    Date dateContent(Frame& frame);
    Value dataContent(Frame& frame);
    Value urlContent(Frame& frame);
    Value uuidContent(Frame& frame);
    Value collectionContent(Frame& frame, detail::PlatformClass kind);
    Value dictionaryContent(Frame& frame);
    bool pushReferences(Frame& frame, std::string_view arrayKey, std::string_view numberedKey);
    bool pushNumbered(Frame& frame, std::string_view numberedKey);
    bool pushUID(const Item& item, std::string_view key);
    void dropRepeats(std::size_t firstReference);
    bool hashable(std::uint64_t weight);

    KeyedUnarchiver& unarchiver_;
    detail::PropertyListReader list_;
    Item objects_;             // the array $objects
    Frame frame_;              // of the object being read
    std::vector<Slot> slots_;  // one for each of them
    std::vector<String> texts_;
    std::vector<Node> nodes_;
    std::vector<Class> classes_;
    std::vector<std::uint32_t> references_;  // of the collections being read, a stack
    std::vector<std::uint32_t> stamps_;      // of references, for finding repeats
    std::uint32_t stamp_ = 0;
    std::unordered_map<const std::uint8_t*, KeyIndex> keyIndexes_;
    std::uint64_t budget_ = 0, steps_ = 0;
    std::uint32_t depth_ = 0, height_ = 0;
    std::uint64_t weight_ = 0;
    bool failed_ = false;
    std::string reason_;

    std::map<std::string, const ArchiveClass*, std::less<>> substitutes_;
    std::vector<std::pair<std::string, Class>> knownClasses_;  // of earlier archives too
    std::uint64_t knownGeneration_ = 0;
    std::array<Repeated, 512> repeated_;  // by hash
};

}  // namespace qsml
