#pragma once
#include <algorithm>
#include <cstdint>
#include <vector>

namespace qsml::detail {

/// The indexes of a group's rows that a set of changes lists, on one of its two snapshots. The
/// other rows keep their order, so an unlisted row has the same rank among the unlisted rows on
/// both snapshots, and its index on one gives that on the other.
class ListedIndexes {
public:
    void add(std::uint64_t index) { indexes_.push_back(index); }
    /// Once, after the last add() and before the first question.
    void sort() { std::sort(indexes_.begin(), indexes_.end()); }

    /// How many unlisted rows stand before the index. O(log k).
    std::uint64_t unlistedBefore(std::uint64_t index) const {
        const auto end = std::lower_bound(indexes_.begin(), indexes_.end(), index);
        return index - static_cast<std::uint64_t>(end - indexes_.begin());
    }
    /// Where the unlisted row of that rank stands. O(log k).
    std::uint64_t indexOfUnlisted(std::uint64_t rank) const {
        std::size_t first = 0, last = indexes_.size();
        while (first < last) {  // the listed rows before it are those with at most `rank` unlisted
            const std::size_t middle = first + (last - first) / 2;
            if (indexes_[middle] - middle <= rank)
                first = middle + 1;
            else
                last = middle;
        }
        return rank + first;
    }

private:
    std::vector<std::uint64_t> indexes_;
};

}  // namespace qsml::detail
