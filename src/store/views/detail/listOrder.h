#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "store/views/detail/ViewTree.h"

namespace qsml::detail {

/// What a row of a group that is ordered by a list is found by: its key in a short form.
std::string listKey(std::string_view key);

/// The rows of a group that is to be brought into the order of a list: those that the list names in
/// its order, then the others by row id. Rows stay where they are as far as possible.
class ListedRows {
public:
    /// A row that stands in the tree, in the tree's order.
    void add(const ViewEntry& entry, std::uint64_t position);
    void addNew(const ViewEntry& entry);
    /// The next key of the list.
    void name(std::string_view key);
    void forgetNames();

    /// Takes the rows at the `leaving` positions (ascending) out of the tree and makes it as it
    /// should be. Answers the rows that stood in it and were moved. O(n log n).
    std::vector<std::int64_t> moveIn(ViewTree& tree, std::vector<std::uint64_t> leaving,
                                     ViewEdit& edit);
    bool hasChanged() const noexcept { return hasChanged_; }

private:
    struct Row {
        std::int64_t rowid;
        std::uint64_t position;  // in the tree
        bool isNew;
        std::uint64_t wish;  // its number in the list
    };
    std::string_view keyOf(std::size_t i) const { return entries_.key(i); }
    void append(const ViewEntry& entry, std::uint64_t position, bool isNew);
    std::vector<std::size_t> wantedOrder() const;

    ViewEntryList entries_;
    std::vector<Row> rows_;
    std::unordered_map<std::string_view, std::size_t> places_;
    std::uint64_t names_ = 0;
    bool hasChanged_ = false;
};

}  // namespace qsml::detail
