#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "store/indexes/YapDatabaseColumnIndex.h"

namespace qsml::detail {

class ColumnTable;

/// What one transaction does for an index: it computes the columns of a row while its object is at
/// hand, and those of rows that depend on others at the end; it writes them when asked, in the
/// order of row ids. Confined to the transaction.
class ColumnWork {
public:
    ColumnWork(const YapDatabaseColumnIndex& index, YapDatabaseExtensionContext& context);
    ~ColumnWork();
    ColumnWork(const ColumnWork&) = delete;
    ColumnWork& operator=(const ColumnWork&) = delete;

    enum class Event : std::uint8_t { inserted, changed, removed };
    /// An insertion or a change.
    void note(const YapDatabaseRow& row, Event event);
    void noteRemoval(std::int64_t rowid) { noted_.push_back({rowid, Event::removed, {}}); }
    void noteDependents(const YapDatabaseRow& row);
    /// Brings the tables up to date with what was noted. A failure stays: the commit must not be.
    bool apply(Error* error);
    const std::vector<std::int64_t>& changedRowids();
    std::uint64_t changeNumber() const noexcept { return changeNumber_; }

    bool fill(Error* error);
    using Fault = std::function<void(std::string_view collection, std::string_view key,
                                     std::string_view description)>;
    bool check(const Fault& fault, Error* error);

    /// Gives the row's collection and key, when there is such a row. False after a failure.
    bool keyOfRow(std::int64_t rowid,
                  const std::function<void(std::string_view, std::string_view)>& block,
                  Error* error);
    ColumnTable& table();

private:
    struct Noted {
        std::int64_t rowid;
        Event event;
        std::optional<std::vector<Value>> values;  ///< nothing: to be computed from the row
    };
    bool isAllowed(std::string_view collection) const;
    /// Fills values_. Answers what the handler threw; empty when it did not.
    std::string compute(const YapDatabaseRow& row);
    void computeForWriting(const YapDatabaseRow& row);
    bool resolveDependents();
    bool applyNoted();
    bool write(std::int64_t rowid, bool isNew);
    bool writeValues(std::int64_t rowid, bool isNew, std::vector<Value> computed);
    bool remove(std::int64_t rowid);
    void noteChange(std::int64_t rowid);
    void checkRow(const YapDatabaseRow& row, const Fault& fault,
                  std::vector<std::int64_t>* expected);
    bool checkStrayRows(const std::vector<std::int64_t>& expected, const Fault& fault,
                        Error* error);
    /// Keeps the error of a read that the store has answered with nothing.
    bool hasRead();

    const YapDatabaseColumnIndex& index_;
    YapDatabaseExtensionContext& context_;
    std::shared_ptr<ColumnTable> table_;
    YapDatabaseColumnValues values_;
    std::vector<Noted> noted_;
    std::set<std::pair<String, String>> dependents_;
    std::vector<std::int64_t> changed_;
    std::uint64_t changeNumber_ = 0;
    std::size_t sortedChanges_ = 0;
    Error failure_;
    bool isApplying_ = false;
    bool isIncomplete_ = false;
};

}  // namespace qsml::detail
