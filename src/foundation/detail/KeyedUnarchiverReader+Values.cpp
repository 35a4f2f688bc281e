#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

#include "foundation/detail/KeyedUnarchiverReader.h"
#include "foundation/text.h"

namespace qsml {

using detail::PlatformClass;

namespace {

// What one element takes, with its share of the hash table and of growth, rounded up.
constexpr std::uint64_t costOfArrayElement = sizeof(Value);
constexpr std::uint64_t costOfSetElement = 2 * sizeof(Value) + 72;
constexpr std::uint64_t costOfTextElement = 2 * sizeof(String) + 64;
constexpr std::uint64_t costOfPair = 6 * sizeof(Value);
constexpr std::uint64_t costOfCollection = 64;

}  // namespace

Value KeyedUnarchiver::Reader::stringContent(Frame& frame) {
    const Item text = take(frame, "NS.string");
    if (text.isString()) return makeString(text);
    if (text.type == Type::uid) {
        const std::uint32_t uid = detail::PropertyListReader::uid(text);
        const Item target = uid == 0 ? Item{} : element(uid, "NS.string");
        return target.isString() ? Value(makeString(target)) : Value();
    }
    const Item bytes = take(frame, "NS.bytes");
    if (bytes.type != Type::data || !isValidUTF8(bytes.bytes())) return {};
    return charge(64 + bytes.count) ? Value(bytes.bytes()) : Value();
}

Date KeyedUnarchiver::Reader::dateContent(Frame& frame) {
    const Item time = take(frame, "NS.time");
    if (!time.isNumber()) fail("the archive has a date without a time");
    return Date{realOf(time)};
}

Value KeyedUnarchiver::Reader::dataContent(Frame& frame) {
    Item bytes = take(frame, "NS.data");
    if (bytes.type == Type::uid) {
        const std::uint32_t uid = detail::PropertyListReader::uid(bytes);
        bytes = uid == 0 ? Item{} : element(uid, "NS.data");
    }
    return bytes.type == Type::data ? plain(bytes, "NS.data") : Value();
}

Value KeyedUnarchiver::Reader::urlContent(Frame& frame) {
    const std::uint32_t baseUID = takeReference(frame, "NS.base");
    const std::uint32_t textUID = takeReference(frame, "NS.relative");
    const String text = textUID == 0 ? String() : string(textUID, "NS.relative");
    if (failed_ || !text || !charge(costOfCollection)) return {};
    if (baseUID == 0) return URL::withString(*text);
    const std::optional<URL> base = valueOfKind(baseUID, PlatformClass::url, "NS.base").url();
    return base ? Value(URL::withString(*text, &*base)) : Value();
}

Value KeyedUnarchiver::Reader::uuidContent(Frame& frame) {
    Item bytes = take(frame, "NS.uuidbytes");
    if (bytes.type == Type::damaged) bytes = take(frame, "uuid");
    if (bytes.type != Type::data || bytes.count != 16) {
        fail("the archive has a UUID without its 16 bytes");
        return {};
    }
    UUID uuid;
    std::copy_n(bytes.body, 16, uuid.bytes.begin());
    return uuid;
}

bool KeyedUnarchiver::Reader::pushUID(const Item& item, std::string_view key) {
    const std::uint32_t uid = detail::PropertyListReader::uid(item);
    if (uid == 0 || uid >= objects_.count) {
        fail("the archive has a collection with a damaged reference at key (" + std::string(key) +
             ")");
        return false;
    }
    references_.push_back(uid);
    return true;
}

/// Puts the references of a collection onto the stack, from either of the forms in use.
bool KeyedUnarchiver::Reader::pushReferences(Frame& frame, std::string_view arrayKey,
                                             std::string_view numberedKey) {
    const std::uint32_t position = find(frame, arrayKey);
    if (position == none) return pushNumbered(frame, numberedKey);
    const Item array =
        list_.item(list_.reference(frame.dictionary.body, frame.dictionary.count + position));
    if (array.type != Type::array) {
        fail("the archive has a damaged collection at key (" + std::string(arrayKey) + ")");
        return false;
    }
    if (!charge(2 * sizeof(std::uint32_t) * std::uint64_t{array.count}) || !work(array.count))
        return false;
    for (std::uint32_t i = 0; i < array.count; ++i)
        if (!pushUID(list_.item(list_.reference(array.body, i)), arrayKey)) return false;
    return true;
}

/// Numbered keys end at the first number that is missing.
bool KeyedUnarchiver::Reader::pushNumbered(Frame& frame, std::string_view numberedKey) {
    char text[32];
    char* const digits = std::copy(numberedKey.begin(), numberedKey.end(), text);
    const Item& dictionary = frame.dictionary;
    bool inOrder = true;
    for (std::uint32_t number = 0; !failed_; ++number) {
        char* const end = std::to_chars(digits, std::end(text), number).ptr;
        const std::string_view key(text, static_cast<std::size_t>(end - text));
        // Where the numbers fill all places but the last, that is the only one left to look at.
        if (inOrder && number + 1 == dictionary.count && !isKey(frame, number, key)) return true;
        const std::uint32_t position = find(frame, key);
        if (position == none) return !failed_;
        inOrder = inOrder && position == number;
        if (!charge(2 * sizeof(std::uint32_t)) || !work(4)) return false;
        if (!pushUID(list_.item(list_.reference(dictionary.body, dictionary.count + position)),
                     key))
            return false;
    }
    return false;
}

/// Takes repeats of a reference from the top of the stack, so that a long text that is named often
/// is hashed once.
void KeyedUnarchiver::Reader::dropRepeats(std::size_t firstReference) {
    if (references_.size() - firstReference < 2) return;
    const auto first = references_.begin() + static_cast<std::ptrdiff_t>(firstReference);
    auto out = first;
    if (references_.size() - firstReference <= 8) {
        for (auto at = first; at != references_.end(); ++at)
            if (std::find(first, out, *at) == out) *out++ = *at;
    } else {
        if (stamps_.empty()) {
            if (!charge(sizeof(std::uint32_t) * std::uint64_t{objects_.count})) return;
            stamps_.assign(objects_.count, 0);
        }
        ++stamp_;
        for (auto at = first; at != references_.end(); ++at)
            if (std::exchange(stamps_[*at], stamp_) != stamp_) *out++ = *at;
    }
    references_.erase(out, references_.end());
}

/// Whether a hash table may take an element: hashing walks all that lies below it.
bool KeyedUnarchiver::Reader::hashable(std::uint64_t weight) { return work(2 * weight); }

Value KeyedUnarchiver::Reader::collectionContent(Frame& frame, PlatformClass kind) {
    const std::size_t first = references_.size();
    if (!pushReferences(frame, "NS.objects", "NS.object.")) return {};
    const bool isArray = kind == PlatformClass::array;
    if (!isArray) dropRepeats(first);
    const std::size_t count = references_.size() - first;
    if (!charge(costOfCollection + count * (isArray ? costOfArrayElement : costOfSetElement)))
        return {};
    Value::Array elements;
    elements.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t weight = weight_;
        Value element = value(references_[first + i], "NS.objects");
        if (failed_ || (!isArray && !hashable(weight_ - weight + 1))) return {};
        if (!element.isNil()) elements.push_back(std::move(element));
    }
    references_.resize(first);
    if (isArray) return elements;
    if (kind == PlatformClass::set) return ValueSet(std::move(elements));
    return OrderedSet<Value>(std::move(elements));
}

/// The first of equal keys wins.
Value KeyedUnarchiver::Reader::dictionaryContent(Frame& frame) {
    const std::size_t first = references_.size();
    if (!pushReferences(frame, "NS.keys", "NS.key.")) return {};
    const std::size_t count = references_.size() - first;
    frame.cursor = 1;
    if (!pushReferences(frame, "NS.objects", "NS.object.")) return {};
    if (references_.size() - first != 2 * count) {
        fail("the archive has a dictionary with unequal numbers of keys and values");
        return {};
    }
    if (!charge(costOfCollection + count * costOfPair)) return {};
    Dictionary made;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t weight = weight_;
        const Value key = value(references_[first + i], "NS.keys");
        if (failed_ || !hashable(2 * (weight_ - weight + 1))) return {};
        if (key.isNil() || made.contains(key)) continue;
        made.set(key, value(references_[first + count + i], "NS.objects"));
        if (failed_) return {};
    }
    references_.resize(first);
    return made;
}

std::optional<OrderedSet<String>> KeyedUnarchiver::Reader::strings(std::uint32_t uid,
                                                                   std::string_view key) {
    const Item item = element(uid, key);
    if (item.type != Type::dictionary) return std::nullopt;
    const PlatformClass kind = classOf(item, key).platformClass;
    if (kind != PlatformClass::array && kind != PlatformClass::set &&
        kind != PlatformClass::orderedSet)
        return std::nullopt;
    Frame frame{item};
    const std::size_t first = references_.size();
    if (!pushReferences(frame, "NS.objects", "NS.object.")) return std::nullopt;
    dropRepeats(first);
    const std::size_t count = references_.size() - first;
    if (!charge(costOfCollection + count * costOfTextElement)) return std::nullopt;
    std::vector<String> texts;
    texts.reserve(count);
    for (std::size_t i = first; i < first + count; ++i) {
        String text = string(references_[i], key);
        if (failed_ || !hashable(1 + text.size() / 16)) return std::nullopt;
        if (text) texts.push_back(std::move(text));
    }
    references_.resize(first);
    return OrderedSet<String>(std::move(texts));
}

}  // namespace qsml
