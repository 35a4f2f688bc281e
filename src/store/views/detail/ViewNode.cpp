#include "store/views/detail/ViewNode.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <stdexcept>

#include "store/views/detail/ViewFailure.h"
#include "store/views/detail/ViewTree.h"

namespace qsml::detail {

namespace {

constexpr std::size_t headSize = sizeof(std::uint64_t);

/// Ascends with the key; what is missing of a short key counts as zeros.
std::uint64_t headOf(std::string_view key) {
    std::uint64_t head = 0;
    const std::size_t length = std::min(key.size(), headSize);
    for (std::size_t i = 0; i < length; ++i) head = head << 8 | static_cast<std::uint8_t>(key[i]);
    return length == 0 ? 0 : head << (8 * (headSize - length));
}

/// How many of some ascending numbers are below the given one. Without branches that depend on
/// them, since these are as often guessed wrong as right.
std::size_t countBelowNumber(const std::uint64_t* numbers, std::size_t size, std::uint64_t number) {
    const std::uint64_t* first = numbers;
    while (size > 0) {
        const std::size_t half = size / 2;
        first = first[half] < number ? first + (size - half) : first;
        size = half;
    }
    return static_cast<std::size_t>(first - numbers);
}

template <class T>
void insertAt(std::vector<T>& list, std::size_t i, T value) {
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(i), value);
}

template <class T>
void eraseAt(std::vector<T>& list, std::size_t i) {
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(i));
}

template <class T>
void appendPart(std::vector<T>& list, const std::vector<T>& other, std::size_t first,
                std::size_t last) {
    list.insert(list.end(), other.data() + first, other.data() + last);
}

}  // namespace

int ViewEntryList::compare(std::size_t i, std::int64_t rowid, std::string_view otherKey) const {
    if (const int order = key(i).compare(otherKey)) return order;
    return rowids_[i] < rowid ? -1 : rowids_[i] > rowid;
}

template <class Holds>
std::size_t ViewEntryList::firstFailing(std::int64_t rowid, std::string_view otherKey,
                                        Holds holds) const {
    const std::uint64_t head = headOf(otherKey);
    std::size_t first = countBelowNumber(heads_.data(), size(), head);
    if (first == size() || heads_[first] != head) return first;
    std::size_t last = size();
    while (first < last) {
        const std::size_t middle = first + (last - first) / 2;
        if (heads_[middle] == head && holds(compare(middle, rowid, otherKey)))
            first = middle + 1;
        else
            last = middle;
    }
    return first;
}

std::size_t ViewEntryList::countBelow(std::int64_t rowid, std::string_view otherKey) const {
    return firstFailing(rowid, otherKey, [](int order) { return order < 0; });
}

std::size_t ViewEntryList::lastNotAbove(std::int64_t rowid, std::string_view otherKey) const {
    const std::size_t count = firstFailing(rowid, otherKey, [](int order) { return order <= 0; });
    return count == 0 ? 0 : count - 1;
}

void ViewEntryList::insert(std::size_t i, std::int64_t rowid, std::string_view key) {
    if (key.size() > std::numeric_limits<std::uint32_t>::max() - keys_.size())
        throw std::length_error("the keys of a view are too long");
    const std::size_t at = start(i);
    const auto length = static_cast<std::uint32_t>(key.size());
    keys_.insert(at, key);
    insertAt(heads_, i, headOf(key));
    insertAt(rowids_, i, rowid);
    insertAt(ends_, i, static_cast<std::uint32_t>(at));
    shiftEnds(i, length);
}

void ViewEntryList::erase(std::size_t i) {
    const std::size_t at = start(i), length = ends_[i] - at;
    keys_.erase(at, length);
    eraseAt(heads_, i);
    eraseAt(rowids_, i);
    eraseAt(ends_, i);
    shiftEnds(i, 0 - static_cast<std::uint32_t>(length));
}

void ViewEntryList::append(const ViewEntryList& other, std::size_t first, std::size_t last) {
    if (first == last) return;
    const std::size_t from = other.start(first), length = other.ends_[last - 1] - from;
    if (length > std::numeric_limits<std::uint32_t>::max() - keys_.size())
        throw std::length_error("the keys of a view are too long");
    const std::size_t count = size();
    // Wraps where this list is the shorter one: only the sums count.
    const auto difference = static_cast<std::uint32_t>(keys_.size() - from);
    keys_.append(other.keys_, from, length);
    appendPart(heads_, other.heads_, first, last);
    appendPart(rowids_, other.rowids_, first, last);
    appendPart(ends_, other.ends_, first, last);
    shiftEnds(count, difference);
}

void ViewEntryList::resize(std::size_t size) {
    keys_.resize(start(size));
    heads_.resize(size);
    rowids_.resize(size);
    ends_.resize(size);
}

void ViewEntryList::reserve(std::size_t size, std::size_t keyBytes) {
    heads_.reserve(size);
    rowids_.reserve(size);
    ends_.reserve(size);
    keys_.reserve(keyBytes);
}

void ViewEntryList::shiftEnds(std::size_t first, std::uint32_t difference) {
    for (std::size_t i = first; i < ends_.size(); ++i) ends_[i] += difference;
}

std::uint64_t ViewNodeContent::count() const noexcept {
    return isLeaf() ? entries.size()
                    : std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

std::size_t ViewNodeContent::childAt(std::uint64_t* position) const {
    std::size_t child = 0;
    for (; child + 1 < counts.size() && *position >= counts[child]; ++child)
        *position -= counts[child];
    return child;
}

ViewNode::~ViewNode() { delete content_.load(std::memory_order_acquire); }

const ViewNodeContent& ViewNode::load(ViewNodeSource& source) const {
    auto content = ViewNodeContent::fromData(source.nodeData(id_), id_);
    const bool isExpected = content->count() == storedCount_ &&
                            (storedHeight_ == anyHeight || content->height == storedHeight_);
    if (!isExpected)
        throw ViewFailure("node " + std::to_string(id_) + " of a view is not the one expected: " +
                          std::to_string(content->count()) + " rows at height " +
                          std::to_string(content->height) + " instead of " +
                          std::to_string(storedCount_) + " at " + std::to_string(storedHeight_));
    ViewNodeContent* present = nullptr;
    // Another thread may have been faster: then its content stays and this one goes.
    if (!content_.compare_exchange_strong(present, content.get(), std::memory_order_acq_rel))
        return *present;
    return *content.release();
}

}  // namespace qsml::detail
