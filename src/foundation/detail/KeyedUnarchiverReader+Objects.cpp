#include <algorithm>
#include <bit>
#include <cstring>

#include "foundation/detail/KeyedUnarchiverReader.h"
#include "foundation/detail/archiveLimits.h"
#include "foundation/detail/archiveText.h"

namespace qsml {

using detail::PlatformClass;
using detail::PropertyListReader;

namespace {

// What an allocation takes beside its content, rounded up.
constexpr std::uint64_t costOfString = 32;
constexpr std::uint64_t costOfData = 96;
// Records differ; what a small one takes.
constexpr std::uint64_t costOfObject = 256;

Value integerValue(const detail::PlistItem& item) {
    const std::uint64_t low = PropertyListReader::bigEndian(item.body + (item.count == 16 ? 8 : 0),
                                                            item.count == 16 ? 8 : item.count);
    if (item.count < 16) return static_cast<std::int64_t>(low);
    const std::uint64_t high = PropertyListReader::bigEndian(item.body, 8);
    const auto asSigned = static_cast<std::int64_t>(low);
    if (high == ~std::uint64_t{0} && asSigned < 0) return asSigned;
    if (high != 0) return {};  // no number that fits 64 bits
    if (asSigned < 0) return low;
    return asSigned;
}

}  // namespace

std::int64_t KeyedUnarchiver::Reader::convertedInteger(const Item& number) {
    if (number.type == Type::integer) return integerValue(number).integerValue();
    if (number.type == Type::boolean) return number.count;
    return number.type == Type::real ? Value(realFrom(number)).integerValue() : 0;
}

double KeyedUnarchiver::Reader::convertedReal(const Item& number) {
    if (number.type == Type::integer) return integerValue(number).realValue();
    return number.type == Type::boolean ? number.count : 0;
}

detail::PlistItem KeyedUnarchiver::Reader::failOfObject(std::string_view key) {
    fail("the archive has a damaged object at key (" + std::string(key) + ")");
    return {};
}

std::uint32_t KeyedUnarchiver::Reader::addNode(std::uint32_t uid) {
    if (!charge(2 * sizeof(Node))) return none;
    const auto index = static_cast<std::uint32_t>(nodes_.size());
    if (slots_[uid].tag() == Slot::unknown) slots_[uid] = Slot::of(Slot::node, index);
    nodes_.emplace_back();
    return index;
}

/// A node met again lies as deep as its new place says, and weighs again.
void KeyedUnarchiver::Reader::meet(const Node& node, std::string_view key) {
    if (depth_ + node.height > detail::mostArchiveDepth)
        fail("the archive is nested more than 512 deep at key (" + std::string(key) + ")");
    height_ = std::max(height_, node.height);
    addWeight(node.weight);
}

String KeyedUnarchiver::Reader::makeString(const Item& item) {
    if (item.type == Type::utf16) return makeStringOfUTF16(item);
    const bool isPlain = detail::isASCII(item.body, item.count);
    const std::size_t size = isPlain ? item.count : detail::utf8SizeOfLatin1(item.body, item.count);
    if (!charge(costOfString + size)) return {};
    if (isPlain) return sharedText(item.bytes());
    return String::build(size,
                         [&](char* out) { detail::utf8FromLatin1(item.body, item.count, out); });
}

/// Records name the same few genres, labels and content types over and over: short texts that come
/// again share their bytes, which saves a tenth of a cached record.
String KeyedUnarchiver::Reader::sharedText(std::string_view text) {
    constexpr std::size_t least = 8, most = 40;
    if (text.size() < least || text.size() > most) return text;
    std::uint64_t front, back;
    std::memcpy(&front, text.data(), 8);
    std::memcpy(&back, text.data() + text.size() - 8, 8);
    const std::uint64_t mixed = (front + 31 * back + text.size()) * 0x9E3779B97F4A7C15;
    const auto hash = static_cast<std::uint32_t>(mixed >> 32);
    Repeated& entry = repeated_[hash % repeated_.size()];
    if (entry.hash == hash && entry.text == text) return entry.text;
    String made = text;
    if (entry.lastSeen == hash) {
        entry.text = made.copyWhileConfined();
        entry.hash = hash;
    }
    entry.lastSeen = hash;
    return made;
}

String KeyedUnarchiver::Reader::makeStringOfUTF16(const Item& item) {
    char most[768];
    if (3 * std::size_t{item.count} <= sizeof most) {
        const char* end = detail::utf8FromUTF16(item.body, item.count, most);
        const std::string_view text(most, static_cast<std::size_t>(end - most));
        return charge(costOfString + text.size()) ? String(text) : String();
    }
    const std::size_t size = detail::utf8SizeOfUTF16(item.body, item.count);
    if (!charge(costOfString + size)) return {};
    return String::build(size,
                         [&](char* out) { detail::utf8FromUTF16(item.body, item.count, out); });
}

String KeyedUnarchiver::Reader::string(std::uint32_t uid, std::string_view key) {
    const Slot slot = slots_[uid];
    if (slot.tag() == Slot::text) return texts_[slot.index()];
    const Item item = element(uid, key);
    if (item.type == Type::dictionary) return valueOfKind(uid, PlatformClass::string, key).string();
    if (!item.isString() || !charge(2 * sizeof(String))) return {};
    String made = makeString(item);
    if (slot.tag() == Slot::unknown) {
        slots_[uid] = Slot::of(Slot::text, texts_.size());
        texts_.push_back(made.copyWhileConfined());
    }
    return made;
}

std::optional<Date> KeyedUnarchiver::Reader::date(std::uint32_t uid, std::string_view key) {
    const Item item = element(uid, key);
    if (item.type == Type::date) return Date{realFrom(item)};
    if (item.type != Type::dictionary) return std::nullopt;
    if (classOf(item, key).platformClass != PlatformClass::date) return std::nullopt;
    Frame frame{item};
    const Date date = dateContent(frame);
    return failed_ ? std::nullopt : std::optional(date);
}

Value KeyedUnarchiver::Reader::valueOfKind(std::uint32_t uid, PlatformClass kind,
                                           std::string_view key) {
    const Item item = element(uid, key);
    if (item.type == Type::data && kind == PlatformClass::data) return value(uid, key);
    if (item.type != Type::dictionary || classOf(item, key).platformClass != kind) return {};
    return value(uid, key);
}

Value KeyedUnarchiver::Reader::plain(const Item& item, std::string_view key) {
    switch (item.type) {
        case Type::boolean:
            return item.count != 0;
        case Type::integer:
            return integerValue(item);
        case Type::real:
            if (item.count == 4) return static_cast<float>(realFrom(item));
            return realFrom(item);
        case Type::date:
            return Date{realFrom(item)};
        case Type::data:
            if (!charge(costOfData + item.count)) return {};
            return Data({item.body, item.count});
        default:
            fail("the archive has an object without a class at key (" + std::string(key) + ")");
            return {};
    }
}

Value KeyedUnarchiver::Reader::value(std::uint32_t uid, std::string_view key) {
    if (failed_) return {};
    if (slots_[uid].tag() == Slot::node) return known(uid, key);
    const Item item = element(uid, key);
    if (item.isString()) {
        addWeight(1 + item.count / 16);
        return string(uid, key);
    }
    addWeight(1);
    if (item.type != Type::dictionary) return failed_ ? Value() : plain(item, key);
    const Class itsClass = classOf(item, key);
    if (failed_) return {};
    if (itsClass.archiveClass)
        return std::shared_ptr<const Object>(makeObject(uid, item, *itsClass.archiveClass, key));
    return instance(uid, item, itsClass, key);
}

/// What was made of a reference before, or is being made.
Value KeyedUnarchiver::Reader::known(std::uint32_t uid, std::string_view key) {
    const Node& node = nodes_[slots_[uid].index()];
    if (!node.isFinished && !node.value.object()) {
        fail("the archive has a collection that contains itself at key (" + std::string(key) + ")");
        return {};
    }
    meet(node, key);
    return failed_ ? Value() : node.value;
}

Value KeyedUnarchiver::Reader::instance(std::uint32_t uid, const Item& item, const Class& itsClass,
                                        std::string_view key) {
    Frame frame{item};
    switch (itsClass.platformClass) {
        case PlatformClass::string:
            return stringContent(frame);
        case PlatformClass::date:
            return dateContent(frame);
        case PlatformClass::data:
            return dataContent(frame);
        case PlatformClass::uuid:
            return uuidContent(frame);
        case PlatformClass::null:
            return Null();
        default:
            break;
    }
    const Level level(*this, key);
    const std::uint32_t index = addNode(uid);
    if (failed_) return {};
    Value made = itsClass.platformClass == PlatformClass::url ? urlContent(frame)
                 : itsClass.platformClass == PlatformClass::dictionary
                     ? dictionaryContent(frame)
                     : collectionContent(frame, itsClass.platformClass);
    if (failed_) return {};
    nodes_[index].value = made;
    level.finish(nodes_[index]);
    return made;
}

std::shared_ptr<Object> KeyedUnarchiver::Reader::object(std::uint32_t uid,
                                                        const ArchiveClass& archiveClass,
                                                        std::string_view key) {
    if (slots_[uid].tag() == Slot::node) {
        // Every object here was made by makeObject, never const.
        auto made = std::const_pointer_cast<Object>(nodes_[slots_[uid].index()].value.object());
        if (!made || !made->archiveClass().isSubclassOf(archiveClass)) return nullptr;
        meet(nodes_[slots_[uid].index()], key);
        return failed_ ? nullptr : made;
    }
    const Item item = element(uid, key);
    if (item.type != Type::dictionary) return nullptr;
    const Class itsClass = classOf(item, key);
    if (failed_ || !itsClass.archiveClass) return nullptr;
    if (!itsClass.archiveClass->isSubclassOf(archiveClass)) return nullptr;
    return makeObject(uid, item, *itsClass.archiveClass, key);
}

/// Makes an instance, known under its reference before its keys are read: a cycle finds it.
std::shared_ptr<Object> KeyedUnarchiver::Reader::makeObject(std::uint32_t uid, const Item& item,
                                                            const ArchiveClass& archiveClass,
                                                            std::string_view key) {
    const Level level(*this, key);
    const std::uint32_t index = addNode(uid);
    if (failed_ || !charge(costOfObject)) return nullptr;
    std::shared_ptr<Object> made = archiveClass.allocate() ? archiveClass.allocate()() : nullptr;
    if (!made) {
        fail("-[NSKeyedUnarchiver decodeObjectForKey:]: class (" +
             std::string(archiveClass.name()) + ") for key (" + std::string(key) +
             ") has no instances");
        return nullptr;
    }
    nodes_[index].value = std::shared_ptr<const Object>(made);
    const Frame outer = std::exchange(frame_, Frame{item});
    const bool isFilled = made->initWithCoder(unarchiver_);
    frame_ = outer;
    if (!isFilled || failed_) made = nullptr;
    if (!made) nodes_[index].value = {};
    level.finish(nodes_[index]);
    return made;
}

}  // namespace qsml
