#include "store/views/detail/ViewState.h"

#include <algorithm>

#include "store/detail/CollectionNames.h"

namespace qsml::detail {

namespace {

/// A walk takes about as long per row as a question takes per thousand rows.
constexpr std::uint64_t rowsPerQuestion = 400;
constexpr std::uint32_t freeQuestions = 32;

}  // namespace

ViewState::~ViewState() = default;

std::size_t ViewState::placeOf(std::string_view name) const {
    const auto found = std::lower_bound(
        groups_.begin(), groups_.end(), name,
        [](const auto& group, std::string_view wanted) { return group->name.view() < wanted; });
    return static_cast<std::size_t>(found - groups_.begin());
}

const ViewGroup* ViewState::group(std::string_view name) const {
    const std::size_t i = placeOf(name);
    return i < groups_.size() && groups_[i]->name.view() == name ? groups_[i].get() : nullptr;
}

const ViewTree& ViewState::tree(std::string_view name) const {
    static const ViewTree empty;
    const ViewGroup* found = group(name);
    return found ? found->tree : empty;
}

std::uint64_t ViewState::count() const {
    std::uint64_t all = 0;
    for (const auto& group : groups_) all += group->tree.count();
    return all;
}

ViewState::Groups::iterator ViewState::placeOfId(Groups& groups, std::int64_t id) {
    return std::lower_bound(
        groups.begin(), groups.end(), id,
        [](const auto& group, std::int64_t wanted) { return group->id < wanted; });
}

const ViewGroup* ViewState::groupWithId(std::int64_t id) const {
    const auto found =
        std::lower_bound(byId_.begin(), byId_.end(), id,
                         [](const auto& group, std::int64_t wanted) { return group->id < wanted; });
    return found != byId_.end() && (*found)->id == id ? found->get() : nullptr;
}

void ViewState::put(std::shared_ptr<const ViewGroup> group) {
    forgetRanks();
    const std::size_t i = placeOf(group->name);
    const auto at = groups_.begin() + static_cast<std::ptrdiff_t>(i);
    const bool isThere = i < groups_.size() && groups_[i]->name == group->name;
    if (isThere && groups_[i]->id != 0) byId_.erase(placeOfId(byId_, groups_[i]->id));
    if (group->id != 0 && group->tree.count() > 0) byId_.insert(placeOfId(byId_, group->id), group);
    if (group->tree.count() == 0) {
        if (isThere) groups_.erase(at);
    } else if (isThere) {
        *at = std::move(group);
    } else {
        groups_.insert(at, std::move(group));
    }
}

/// Nobody else has the state yet.
void ViewState::forgetRanks() {
    ranks_.store(nullptr, std::memory_order_relaxed);
    ranksOwner_.reset();
    questions_.store(0, std::memory_order_relaxed);
}

const ViewRanks& ViewState::ranks(ViewNodeSource& source) const {
    if (const ViewRanks* made = ranks_.load(std::memory_order_acquire)) return *made;
    auto making = std::make_unique<const ViewRanks>(*this, source);
    const std::lock_guard lock(ranksMutex_);
    if (!ranksOwner_) {
        ranksOwner_ = std::move(making);
        ranks_.store(ranksOwner_.get(), std::memory_order_release);
    }
    return *ranksOwner_;
}

const ViewRanks* ViewState::ranksForQuestions(ViewNodeSource& source) const {
    if (const ViewRanks* made = ranks_.load(std::memory_order_acquire)) return made;
    const std::uint32_t asked = questions_.fetch_add(1, std::memory_order_relaxed);
    if (asked < freeQuestions || asked < count() / rowsPerQuestion) return nullptr;
    return &ranks(source);
}

ViewRanks::ViewRanks(const ViewState& state, ViewNodeSource& source) {
    std::uint32_t number = 0;
    for (const auto& group : state.groups()) {
        groups_.emplace_back(number, group.get());
        group->tree.enumerate(0, group->tree.count(), source, [&](const ViewEntry& entry) {
            Block& block = blockOf(entry.rowid);
            const auto i = static_cast<std::size_t>(entry.rowid - block.first);
            if (i >= block.numbers.size()) block.numbers.resize(i + i / 2 + 1);
            block.numbers[i] = ++number;
            return true;
        });
    }
}

ViewRanks::Block& ViewRanks::blockOf(std::int64_t rowid) {
    if (const Block* found = findBlock(rowid)) return const_cast<Block&>(*found);
    blocks_.push_back({firstRowid(collectionOfRowid(rowid)), {}});
    return blocks_.back();
}

const ViewRanks::Block* ViewRanks::findBlock(std::int64_t rowid) const {
    const std::int64_t first = firstRowid(collectionOfRowid(rowid));
    for (const Block& block : blocks_)
        if (block.first == first) return &block;
    return nullptr;
}

std::uint32_t ViewRanks::numberOf(std::int64_t rowid) const {
    const Block* block = findBlock(rowid);
    if (!block) return 0;
    const auto i = static_cast<std::size_t>(rowid - block->first);
    return i < block->numbers.size() ? block->numbers[i] : 0;
}

ViewRanks::Place ViewRanks::placeOfNumber(std::uint32_t number) const {
    auto group = std::upper_bound(
        groups_.begin(), groups_.end(), number - 1,
        [](std::uint32_t wanted, const auto& entry) { return wanted < entry.first; });
    --group;
    return {group->second, number - 1 - group->first};
}

bool ViewRanks::find(std::int64_t rowid, Place* place) const {
    const std::uint32_t number = numberOf(rowid);
    if (number == 0) return false;
    *place = placeOfNumber(number);
    return true;
}

}  // namespace qsml::detail
