#include "store/views/YapDatabaseViewMappings.h"

#include <algorithm>
#include <utility>

#include "store/YapDatabaseExtension.h"

namespace qsml {
namespace {

std::uint64_t effectiveLength(const YapDatabaseViewRangeOptions& options, std::uint64_t count) {
    return std::min(options.length, count - std::min(options.offset, count));
}

YapDatabaseViewMappings::Range rangeOf(const std::optional<YapDatabaseViewRangeOptions>& options,
                                       std::uint64_t count) {
    if (!options) return {0, count};
    const std::uint64_t length = effectiveLength(*options, count);
    const std::uint64_t offset = std::min(options->offset, count);
    if (options->pin == YapDatabaseViewRangeOptions::Pin::beginning) return {offset, length};
    return {count - offset - length, length};
}

}  // namespace

std::shared_ptr<YapDatabaseViewMappings> YapDatabaseViewMappings::initWithGroups(
    std::vector<String> groups, std::string view) {
    return std::shared_ptr<YapDatabaseViewMappings>(
        new YapDatabaseViewMappings(std::move(groups), std::move(view)));
}

YapDatabaseViewMappings::YapDatabaseViewMappings(std::vector<String> groups, std::string view)
    : view_(std::move(view)) {
    Positions positions;
    for (String& group : groups) {
        if (!group || !positions.emplace(group, groups_.size()).second) continue;
        groups_.push_back(std::move(group));
    }
    positions_ = std::make_shared<const Positions>(std::move(positions));
    states_.resize(groups_.size());
    showSections();
}

std::shared_ptr<YapDatabaseViewMappings> YapDatabaseViewMappings::copy() const {
    return std::shared_ptr<YapDatabaseViewMappings>(new YapDatabaseViewMappings(*this));
}

void YapDatabaseViewMappings::setIsDynamicSection(bool isDynamic, std::string_view group) {
    if (const auto position = positionOfGroup(group)) states_[*position].isDynamic = isDynamic;
}

void YapDatabaseViewMappings::setIsDynamicSectionForAllGroups(bool isDynamic) {
    for (GroupState& state : states_) state.isDynamic = isDynamic;
}

bool YapDatabaseViewMappings::isDynamicSectionForGroup(std::string_view group) const {
    const auto position = positionOfGroup(group);
    return position && states_[*position].isDynamic;
}

void YapDatabaseViewMappings::setRangeOptions(const YapDatabaseViewRangeOptions& options,
                                              std::string_view group) {
    if (const auto position = positionOfGroup(group)) states_[*position].options = options;
}

void YapDatabaseViewMappings::removeRangeOptionsForGroup(std::string_view group) {
    if (const auto position = positionOfGroup(group)) states_[*position].options.reset();
}

std::optional<YapDatabaseViewRangeOptions> YapDatabaseViewMappings::rangeOptionsForGroup(
    std::string_view group) const {
    const auto position = positionOfGroup(group);
    if (!position) return std::nullopt;
    const GroupState& state = states_[*position];
    auto options = state.options;
    if (options && snapshot_ != noSnapshot)
        options->length = effectiveLength(*options, state.count);
    return options;
}

void YapDatabaseViewMappings::updateWithTransaction(YapDatabaseReadTransaction& transaction) {
    update(dynamic_cast<YapDatabaseViewContent*>(transaction.ext(view_)), transaction.snapshot());
}

void YapDatabaseViewMappings::update(YapDatabaseViewContent* content, std::uint64_t snapshot) {
    for (std::size_t position = 0; position < groups_.size(); ++position) {
        GroupState& state = states_[position];
        state.count = content ? content->numberOfItemsInGroup(groups_[position]) : 0;
        state.range = rangeOf(state.options, state.count);
    }
    showSections();
    keptState_ = content ? content->keptState() : nullptr;
    snapshot_ = snapshot;
}

void YapDatabaseViewMappings::showSections() {
    visibleGroups_.clear();
    for (std::size_t position = 0; position < groups_.size(); ++position) {
        GroupState& state = states_[position];
        state.section.reset();
        if (state.isDynamic && state.range.length == 0) continue;
        state.section = visibleGroups_.size();
        visibleGroups_.push_back(groups_[position]);
    }
}

std::uint64_t YapDatabaseViewMappings::numberOfItemsInSection(std::uint64_t section) const {
    return section < visibleGroups_.size() ? numberOfItemsInGroup(visibleGroups_[section]) : 0;
}

std::uint64_t YapDatabaseViewMappings::numberOfItemsInGroup(std::string_view group) const {
    const auto position = positionOfGroup(group);
    return position ? states_[*position].range.length : 0;
}

std::uint64_t YapDatabaseViewMappings::numberOfItemsInAllGroups() const {
    std::uint64_t number = 0;
    for (const GroupState& state : states_)
        if (state.section) number += state.range.length;
    return number;
}

std::optional<String> YapDatabaseViewMappings::groupForSection(std::uint64_t section) const {
    if (section >= visibleGroups_.size()) return std::nullopt;
    return visibleGroups_[section];
}

std::optional<std::uint64_t> YapDatabaseViewMappings::sectionForGroup(
    std::string_view group) const {
    const auto position = positionOfGroup(group);
    return position ? states_[*position].section : std::nullopt;
}

std::optional<YapDatabaseViewPlace> YapDatabaseViewMappings::placeForIndexPath(
    IndexPath path) const {
    const auto group = groupForSection(path.section);
    if (!group) return std::nullopt;
    const Range range = states_[*positionOfGroup(*group)].range;
    if (path.row >= range.length) return std::nullopt;
    return YapDatabaseViewPlace{*group, range.first + path.row};
}

std::optional<IndexPath> YapDatabaseViewMappings::indexPathForPlace(
    const YapDatabaseViewPlace& place) const {
    const auto position = positionOfGroup(place.group);
    if (!position || !states_[*position].section) return std::nullopt;
    const Range range = states_[*position].range;
    if (place.index < range.first || place.index - range.first >= range.length) return std::nullopt;
    return IndexPath{*states_[*position].section, place.index - range.first};
}

std::optional<std::size_t> YapDatabaseViewMappings::positionOfGroup(std::string_view group) const {
    const auto found = positions_->find(group);
    if (found == positions_->end()) return std::nullopt;
    return found->second;
}

}  // namespace qsml
