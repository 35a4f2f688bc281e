#include <functional>

#include "foundation/detail/KeyedUnarchiverReader.h"
#include "foundation/detail/archiveText.h"

namespace qsml {

namespace {

/// Dictionaries up to this size are searched in line.
constexpr std::uint32_t mostSearchedInLine = 64;
/// A key's first bytes decide where it stands in an index.
constexpr std::size_t mostHashedBytes = 64;

std::size_t hashOf(std::string_view text) {
    return std::hash<std::string_view>()(text.substr(0, mostHashedBytes)) ^ text.size();
}

/// User keys that begin with a dollar sign are written with one more.
std::string mangled(std::string_view key) {
    std::string written(1, '$');
    return written.append(key);
}

}  // namespace

std::uint32_t KeyedUnarchiver::Reader::findElsewhere(Frame& frame, std::string_view key) {
    if (failed_) return none;
    const std::uint32_t position =
        frame.dictionary.count <= mostSearchedInLine ? search(frame, key) : searchIndex(frame, key);
    if (position != none) frame.cursor = position + 1;
    return position;
}

std::uint32_t KeyedUnarchiver::Reader::search(const Frame& frame, std::string_view key) {
    const std::uint32_t count = frame.dictionary.count;
    if (!work(count)) return none;
    for (std::uint32_t i = frame.cursor + 1; i < count; ++i)
        if (isKey(frame, i, key)) return i;
    for (std::uint32_t i = 0; i < frame.cursor && i < count; ++i)
        if (isKey(frame, i, key)) return i;
    return none;
}

std::uint32_t KeyedUnarchiver::Reader::searchIndex(const Frame& frame, std::string_view key) {
    KeyIndex& index = keyIndexes_[frame.dictionary.body];
    if (index.positions.empty()) fill(index, frame);
    if (failed_) return none;
    const std::size_t mask = index.positions.size() - 1;
    for (std::size_t i = hashOf(key) & mask;; i = (i + 1) & mask) {
        if (index.positions[i] == 0 || !work(1)) return none;
        if (isKey(frame, index.positions[i] - 1, key)) return index.positions[i] - 1;
    }
}

/// The first of equal keys wins.
void KeyedUnarchiver::Reader::fill(KeyIndex& index, const Frame& frame) {
    std::size_t size = 2;
    while (size < 2 * std::size_t{frame.dictionary.count}) size *= 2;
    if (!charge(size * sizeof(std::uint32_t) + 128) || !work(frame.dictionary.count)) return;
    index.positions.assign(size, 0);
    std::string written;
    for (std::uint32_t at = 0; at < frame.dictionary.count; ++at) {
        const Item item = list_.item(list_.reference(frame.dictionary.body, at));
        std::string_view key = item.bytes();
        if (item.type == Type::utf16) {
            if (!charge(3 * std::uint64_t{item.count}) || !work(item.count)) return;
            written.resize(detail::utf8SizeOfUTF16(item.body, item.count));
            detail::utf8FromUTF16(item.body, item.count, written.data());
            key = written;
        } else if (item.type != Type::ascii) {
            continue;  // no key that anyone asks for
        }
        std::size_t i = hashOf(key) & (size - 1);
        for (; index.positions[i] != 0; i = (i + 1) & (size - 1)) {
            if (!work(1 + key.size() / 16)) return;
            if (isKey(frame, index.positions[i] - 1, key)) break;
        }
        if (index.positions[i] == 0) index.positions[i] = at + 1;
    }
}

detail::PlistItem KeyedUnarchiver::Reader::takeElsewhere(Frame& frame, std::string_view key) {
    const std::uint32_t position = find(frame, key);
    if (position == none) return {};
    const Item& dictionary = frame.dictionary;
    const Item item = list_.item(list_.reference(dictionary.body, dictionary.count + position));
    if (item.type == Type::damaged) failDamaged(key);
    return item;
}

detail::PlistItem KeyedUnarchiver::Reader::takeMangled(std::string_view key) {
    return take(frame_, mangled(key));
}

bool KeyedUnarchiver::Reader::contains(std::string_view key) {
    const std::uint32_t cursor = frame_.cursor;
    const std::uint32_t position = isMangled(key) ? find(frame_, mangled(key)) : find(frame_, key);
    frame_.cursor = position == none ? cursor : position;  // it is likely to be read next
    return position != none;
}

detail::PlistItem KeyedUnarchiver::Reader::numberBehind(const Item& reference,
                                                        std::string_view key) {
    const std::uint32_t uid = detail::PropertyListReader::uid(reference);
    if (uid == 0) return {};
    const Item item = element(uid, key);
    return item.isNumber() ? item : Item{};
}

void KeyedUnarchiver::Reader::failDamaged(std::string_view key) {
    fail("the archive is damaged at key (" + std::string(key) + ")");
}

std::uint32_t KeyedUnarchiver::Reader::failOutside(std::string_view key) {
    fail("the archive has a reference outside its objects at key (" + std::string(key) + ")");
    return 0;
}

}  // namespace qsml
