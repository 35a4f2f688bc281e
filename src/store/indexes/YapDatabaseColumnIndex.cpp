#include "store/indexes/YapDatabaseColumnIndex.h"

#include <algorithm>
#include <new>

#include "foundation/Log.h"
#include "store/YapDatabaseException.h"
#include "store/indexes/detail/ColumnTable.h"
#include "store/indexes/detail/ColumnWork.h"

namespace qsml {

YapDatabaseColumnValues::YapDatabaseColumnValues(const std::vector<std::string>& columns)
    : columns_(columns), values_(columns.size()) {}

void YapDatabaseColumnValues::set(std::string_view column, Value value) {
    const auto found = std::find(columns_.begin(), columns_.end(), column);
    if (found == columns_.end())
        throw YapDatabaseException("There is no column \"" + std::string(column) + "\".");
    values_[static_cast<std::size_t>(found - columns_.begin())] = std::move(value);
}

bool YapDatabaseColumnValues::isEmpty() const noexcept {
    return std::all_of(values_.begin(), values_.end(),
                       [](const Value& value) { return value.isNil(); });
}

std::vector<Value> YapDatabaseColumnValues::take() {
    std::vector<Value> taken(values_.size());
    taken.swap(values_);
    return taken;
}

void YapDatabaseColumnValues::clear() { std::fill(values_.begin(), values_.end(), Value()); }

YapDatabaseColumnIndex::YapDatabaseColumnIndex(std::vector<std::string> columnNames,
                                               YapDatabaseColumnHandler handler,
                                               std::string versionTag, Options options)
    : YapDatabaseExtension(std::move(versionTag)),
      columnNames_(std::move(columnNames)),
      handler_(std::move(handler)),
      options_(std::move(options)) {}

YapDatabaseColumnIndex::~YapDatabaseColumnIndex() = default;

const std::set<std::string, std::less<>>* YapDatabaseColumnIndex::allowedCollections() const {
    return options_.allowedCollections ? &*options_.allowedCollections : nullptr;
}

const std::set<std::string, std::less<>>* YapDatabaseColumnIndex::collectionsWithDependents()
    const {
    return &options_.dependents.collections;
}

bool YapDatabaseColumnIndex::createTables(YapDatabaseExtensionContext& context, Error* error) {
    return table(context)->create(error);
}

bool YapDatabaseColumnIndex::dropTables(YapDatabaseExtensionContext& context, Error* error) {
    return table(context)->drop(error);
}

bool YapDatabaseColumnIndex::fill(YapDatabaseExtensionContext& context, Error* error) {
    return detail::ColumnWork(*this, context).fill(error);
}

std::shared_ptr<const YapDatabaseExtensionState> YapDatabaseColumnIndex::loadState(
    YapDatabaseExtensionContext&, Error*) {
    return nullptr;
}

bool YapDatabaseColumnIndex::check(
    YapDatabaseExtensionContext& context,
    const std::function<void(std::string_view, std::string_view, std::string_view)>& fault,
    Error* error) {
    return detail::ColumnWork(*this, context).check(fault, error);
}

YapDatabaseColumnIndexTransaction::YapDatabaseColumnIndexTransaction(
    const YapDatabaseColumnIndex& index, YapDatabaseExtensionContext& context)
    : context_(context), work_(std::make_unique<detail::ColumnWork>(index, context)) {}

YapDatabaseColumnIndexTransaction::~YapDatabaseColumnIndexTransaction() = default;

const std::vector<std::int64_t>& YapDatabaseColumnIndexTransaction::changedRowids() const {
    return work_->changedRowids();
}

std::uint64_t YapDatabaseColumnIndexTransaction::changeNumber() const {
    return work_->changeNumber();
}

void YapDatabaseColumnIndexTransaction::didInsertRow(const YapDatabaseRow& row) {
    work_->note(row, detail::ColumnWork::Event::inserted);
}

void YapDatabaseColumnIndexTransaction::didUpdateRow(const YapDatabaseRow& row, YapDatabaseUpdate) {
    work_->note(row, detail::ColumnWork::Event::changed);
}

void YapDatabaseColumnIndexTransaction::didRemoveRow(const YapDatabaseRow& row) {
    work_->noteRemoval(row.rowid);
}

std::vector<YapDatabaseCollectionKey> YapDatabaseColumnIndexTransaction::dependentsOfRow(
    const YapDatabaseRow& row) {
    work_->noteDependents(row);
    return {};  // kept by the work, so that a query before the commit sees them computed, too
}

bool YapDatabaseColumnIndexTransaction::flush(Error* error) { return work_->apply(error); }

std::shared_ptr<const YapDatabaseExtensionState> YapDatabaseColumnIndexTransaction::newState() {
    return nullptr;
}

bool YapDatabaseColumnIndexTransaction::ask(const std::function<bool(Error*)>& question,
                                            Error* error) {
    Error cause;
    try {
        if (work_->apply(&cause) && question(&cause)) return true;
    } catch (const std::bad_alloc&) {
        cause = detail::extensionFailure("There is too little memory for the query.");
    }
    if (error)
        *error = std::move(cause);
    else
        log("Warning: a query failed: " + cause.description);
    return false;
}

bool YapDatabaseColumnIndexTransaction::enumerateKeys(const Search& search, const KeyBlock& block,
                                                      Error* error) {
    std::vector<std::int64_t> rowids;
    if (!ask([&](Error* cause) { return search(&rowids, cause); }, error)) return false;
    bool stop = false;
    const auto give = [&](std::string_view collection, std::string_view key) {
        block(collection, key, stop);
    };
    for (std::size_t i = 0; i < rowids.size() && !stop; ++i)
        if (!work_->keyOfRow(rowids[i], give, error)) return false;
    return true;
}

bool YapDatabaseColumnIndexTransaction::enumerateObjects(const Search& search,
                                                         const ObjectBlock& block, Error* error) {
    return enumerateRows(
        search,
        [&](std::string_view collection, std::string_view key, const Value& object, const Value&,
            bool& stop) { block(collection, key, object, stop); },
        error);
}

bool YapDatabaseColumnIndexTransaction::enumerateRows(const Search& search, const RowBlock& block,
                                                      Error* error) {
    std::vector<std::int64_t> rowids;
    if (!ask([&](Error* cause) { return search(&rowids, cause); }, error)) return false;
    bool stop = false;
    const auto give = [&](const YapDatabaseRow& row) {
        if (!row.object.isNil()) block(row.collection, row.key, row.object, row.metadata, stop);
    };
    for (std::size_t i = 0; i < rowids.size() && !stop; ++i) context_.rowForRowid(rowids[i], give);
    if (!context_.transaction().error()) return true;
    report(error, context_.transaction().error());
    return false;
}

}  // namespace qsml
