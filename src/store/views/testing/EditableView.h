#pragma once
#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "store/views/YapDatabaseViewContent.h"

namespace qsml {

/// A view in memory that tests edit at will; commit() tells what the edits since the last commit
/// did, as a view tells it. Every operation is linear.
class EditableView final : public YapDatabaseViewContent {
public:
    using Groups = std::map<std::string, std::vector<std::string>, std::less<>>;

    EditableView() = default;
    explicit EditableView(Groups groups) : groups_(std::move(groups)), committed_(groups_) {}

    static constexpr std::string_view collection = "rows";
    static YapDatabaseCollectionKey row(std::string_view key) { return {collection, key}; }

    const Groups& groups() const { return groups_; }
    /// Where rows were at the last commit, or stand now.
    static std::optional<YapDatabaseViewPlace> placeIn(const Groups& groups, std::string_view key) {
        for (const auto& [group, keys] : groups)
            if (const auto found = std::find(keys.begin(), keys.end(), key); found != keys.end())
                return YapDatabaseViewPlace{group,
                                            static_cast<std::uint64_t>(found - keys.begin())};
        return std::nullopt;
    }

    void insert(std::string_view key, std::string_view group, std::size_t index,
                unsigned flags = YapDatabaseViewChangedObject | YapDatabaseViewChangedMetadata) {
        auto& keys = groups_[std::string(group)];
        keys.insert(keys.begin() + static_cast<std::ptrdiff_t>(std::min(index, keys.size())),
                    std::string(key));
        touch(key, flags);
    }
    void remove(std::string_view key, unsigned flags = 0) {
        const auto place = placeIn(groups_, key);
        auto& keys = groups_.find(place->group.view())->second;
        keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(place->index));
        touch(key, flags);
    }
    /// The index counts without the row itself.
    void move(std::string_view key, std::string_view group, std::size_t index,
              unsigned flags = YapDatabaseViewChangedObject) {
        remove(key);
        insert(key, group, index, flags);
    }
    void touch(std::string_view key, unsigned flags = YapDatabaseViewChangedObject) {
        edited_[std::string(key)] |= flags;
    }

    std::shared_ptr<const YapDatabaseViewChanges> commit() {
        std::vector<YapDatabaseViewOperation> operations;
        for (const auto& [key, flags] : edited_) {
            const auto before = placeIn(committed_, key), after = placeIn(groups_, key);
            if (before || after) operations.push_back({row(key), before, after, flags});
        }
        edited_.clear();
        committed_ = groups_;
        return std::make_shared<const YapDatabaseViewChanges>(std::move(operations));
    }

    std::uint64_t numberOfItemsInGroup(std::string_view group) override {
        const auto found = groups_.find(group);
        return found == groups_.end() ? 0 : found->second.size();
    }
    std::optional<YapDatabaseCollectionKey> keyAtIndex(std::uint64_t index,
                                                       std::string_view group) override {
        const auto found = groups_.find(group);
        if (found == groups_.end() || index >= found->second.size()) return std::nullopt;
        return row(found->second[index]);
    }
    std::optional<YapDatabaseViewPlace> groupAndIndexForKey(std::string_view key,
                                                            std::string_view) override {
        return placeIn(groups_, key);
    }

private:
    Groups groups_, committed_;
    std::map<std::string, unsigned> edited_;  // with flags
};

}  // namespace qsml
