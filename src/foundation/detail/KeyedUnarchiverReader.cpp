#include "foundation/detail/KeyedUnarchiverReader.h"

#include <algorithm>

#include "foundation/detail/archiveLimits.h"

namespace qsml {

namespace {

/// More than this of anything is given back after an archive.
template <class Vector>
void empty(Vector& vector) {
    constexpr std::size_t ordinary = std::size_t{1} << 15;
    if (vector.capacity() > ordinary) {
        vector = {};
    } else {
        vector.clear();
    }
}

}  // namespace

KeyedUnarchiver::Reader::Level::Level(Reader& reader, std::string_view key)
    : reader_(reader), heightBeside_(reader.height_), weightBeside_(reader.weight_) {
    reader_.height_ = 0;
    reader_.weight_ = 0;
    if (++reader_.depth_ > detail::mostArchiveDepth)
        reader_.fail("the archive is nested more than 512 deep at key (" + std::string(key) + ")");
}

KeyedUnarchiver::Reader::Level::~Level() {
    --reader_.depth_;
    reader_.height_ = std::max(heightBeside_, reader_.height_ + 1);
    reader_.addWeight(weightBeside_ + 1);
}

void KeyedUnarchiver::Reader::Level::finish(Node& node) const {
    node.height = reader_.height_ + 1;
    node.weight = reader_.weight_ + 1;
    node.isFinished = true;
}

Value KeyedUnarchiver::Reader::unarchive(std::span<const std::uint8_t> bytes, Error* error) {
    end();  // an exception may have left things
    begin();
    const std::uint32_t root = open(bytes);
    Value made;
    if (!failed_ && root != 0) made = value(root, "root");
    end();
    if (!failed_) return made;
    report(error, {std::string(errorDomain), 1, std::move(reason_)});
    return {};
}

void KeyedUnarchiver::Reader::begin() {
    frame_ = {};
    objects_ = {};
    depth_ = height_ = stamp_ = 0;
    weight_ = 0;
    failed_ = false;
    reason_.clear();
}

void KeyedUnarchiver::Reader::end() {
    empty(slots_);
    empty(texts_);
    empty(nodes_);
    empty(classes_);
    empty(references_);
    empty(stamps_);
    if (!keyIndexes_.empty()) keyIndexes_ = {};
}

/// Finds the object table; answers the root's reference.
std::uint32_t KeyedUnarchiver::Reader::open(std::span<const std::uint8_t> bytes) {
    budget_ = 16 * bytes.size() + (std::uint64_t{1} << 20);
    steps_ = 8 * bytes.size() + 2'000'000;
    if (const char* reason = list_.open(bytes)) return fail(reason), 0;
    const Item whole = list_.item(list_.top());
    objects_ = list_.valueOf(whole, "$objects");
    const Item top = list_.valueOf(whole, "$top");
    if (objects_.type != Type::array || top.type != Type::dictionary)
        return fail("the property list is not a keyed archive"), 0;
    if (objects_.count > detail::mostArchiveNodes)
        return fail("the archive has more than 1000000 objects"), 0;
    if (!charge(sizeof(Slot) * std::uint64_t{objects_.count})) return 0;
    slots_.assign(objects_.count, Slot{});
    Frame frame{top};
    const std::uint32_t position = find(frame, "root");
    if (position == none) return 0;
    const Item root = list_.item(list_.reference(top.body, top.count + position));
    const std::uint32_t uid = detail::PropertyListReader::uid(root);
    if (uid >= objects_.count) return fail("the archive's root is no reference to an object"), 0;
    return uid;
}

void KeyedUnarchiver::Reader::fail(std::string_view reason) {
    if (failed_) return;
    failed_ = true;
    reason_ = reason;
}

bool KeyedUnarchiver::Reader::failOfMemory() {
    fail("the archive would take too much memory for its size");
    return false;
}

bool KeyedUnarchiver::Reader::failOfWork() {
    fail("the archive would take too much work for its size");
    return false;
}

void KeyedUnarchiver::Reader::addWeight(std::uint64_t weight) {
    weight_ = std::min(weight_ + weight, std::uint64_t{1} << 60);
}

}  // namespace qsml
