#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "foundation/Value.h"
#include "store/YapDatabaseNotification.h"
#include "store/detail/CollectionNames.h"

namespace qsml::detail {

/// What a transaction did to the two values of one row.
struct RowValues {
    enum class Half : std::uint8_t {
        untouched,  ///< as before
        carried,    ///< the value is here; nil in a removed row
        dropped     ///< written, but only the file has it
    };
    std::uint32_t collection = 0;
    bool isRemoved = false;
    Half objectHalf = Half::untouched;
    Half metadataHalf = Half::untouched;
    Value object = {};
    Value metadata = {};
};

/// The rows that a transaction has changed, each once, with the written values: what the
/// transaction itself reads before the caches, what the commit tells, and what connections hand on.
/// Beyond some thousand rows values are no longer kept, so that an import needs constant memory for
/// them. Confined.
class TransactionChanges {
public:
    bool empty() const noexcept { return changes_.empty(); }
    std::size_t size() const noexcept { return changes_.size(); }
    /// Null when the row is as it was.
    const RowValues* find(std::uint32_t collection, std::string_view key) const;

    void noteObject(const Collection& collection, std::string_view key, Value object);
    void noteMetadata(const Collection& collection, std::string_view key, Value metadata);
    void noteTouch(const Collection& collection, std::string_view key, bool object, bool metadata);
    void noteRemoval(const Collection& collection, std::string_view key);

    const std::vector<YapDatabaseRowChange>& changes() const noexcept { return changes_; }
    const std::vector<RowValues>& values() const noexcept { return values_; }
    std::vector<YapDatabaseRowChange> takeChanges() { return std::move(changes_); }
    std::vector<RowValues> takeValues() { return std::move(values_); }

private:
    bool isAt(std::size_t position, std::uint32_t collection, std::string_view key) const;
    std::size_t positionOf(std::uint32_t collection, std::string_view key) const;
    std::size_t slotOf(std::uint32_t collection, std::string_view key) const;
    void growSlots();
    std::size_t note(const Collection& collection, std::string_view key);
    void keep(Value& place, RowValues::Half& half, Value value) const;

    std::vector<YapDatabaseRowChange> changes_;
    std::vector<RowValues> values_;     // one for each change
    std::vector<std::uint32_t> slots_;  // hash table of positions + 1; empty while there are few
};

}  // namespace qsml::detail
