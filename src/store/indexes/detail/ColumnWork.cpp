#include "store/indexes/detail/ColumnWork.h"

#include <algorithm>

#include "foundation/Log.h"
#include "store/detail/PackedKey.h"
#include "store/detail/troubleOf.h"
#include "store/indexes/detail/ColumnTable.h"

namespace qsml::detail {

ColumnWork::ColumnWork(const YapDatabaseColumnIndex& index, YapDatabaseExtensionContext& context)
    : index_(index), context_(context), values_(index.columnNames()) {}

ColumnWork::~ColumnWork() = default;

ColumnTable& ColumnWork::table() {
    if (table_) return *table_;
    std::shared_ptr<void>& slot = context_.slot();
    if (!slot) slot = std::shared_ptr<ColumnTable>(index_.table(context_));
    table_ = std::static_pointer_cast<ColumnTable>(slot);
    return *table_;
}

bool ColumnWork::isAllowed(std::string_view collection) const {
    const auto* allowed = index_.allowedCollections();
    return !allowed || allowed->find(collection) != allowed->end();
}

void ColumnWork::noteDependents(const YapDatabaseRow& row) {
    const YapDatabaseDependents& declared = index_.options_.dependents;
    if (!declared.rows) return;
    const auto trouble = troubleOf([&] {
        for (YapDatabaseCollectionKey& one : declared.rows(context_.transaction(), row))
            if (one.key && isAllowed(one.collection))
                dependents_.emplace(std::move(one.collection), std::move(one.key));
    });
    if (!trouble || failure_) return;
    failure_ = extensionFailure("The rows that depend on \"" + std::string(row.key) + "\" of \"" +
                                std::string(row.collection) + "\" are unknown: " + *trouble);
}

std::string ColumnWork::compute(const YapDatabaseRow& row) {
    values_.clear();
    if (row.object.isNil() || !index_.handler_) return {};
    const auto trouble = troubleOf([&] { index_.handler_(context_.transaction(), row, values_); });
    if (trouble) {
        values_.clear();
        return "the columns cannot be computed: " + *trouble;
    }
    table().normalize(values_.values());
    return {};
}

void ColumnWork::computeForWriting(const YapDatabaseRow& row) {
    const std::string fault = compute(row);
    if (fault.empty()) return;
    log("Warning: the row \"" + std::string(row.key) + "\" of \"" + std::string(row.collection) +
        "\" is not in the index " + table().name() + ": " + fault);
}

void ColumnWork::note(const YapDatabaseRow& row, Event event) {
    computeForWriting(row);
    // Most rows of a library concern none of its indexes.
    if (event == Event::inserted && values_.isEmpty()) return;
    noted_.push_back({row.rowid, event, values_.take()});
}

bool ColumnWork::hasRead() {
    if (!failure_) failure_ = context_.transaction().error();
    return !failure_;
}

bool ColumnWork::resolveDependents() {
    for (const auto& [collection, key] : dependents_)
        if (const auto rowid = context_.rowidForKey(key, collection))
            noted_.push_back({*rowid, Event::changed, {}});
    dependents_.clear();
    return hasRead();
}

bool ColumnWork::apply(Error* error) {
    // A handler may ask the index itself: it sees what is written so far.
    if (isApplying_) return true;
    struct End {
        bool& isApplying;
        ~End() { isApplying = false; }
    } end{isApplying_};
    isApplying_ = true;
    if (isIncomplete_ && !failure_)
        failure_ = extensionFailure("Work on the index " + table().name() + " was broken off.");
    if (!failure_ && (!noted_.empty() || !dependents_.empty())) {
        isIncomplete_ = true;  // until an exception can no longer leave it so
        if (resolveDependents()) applyNoted();
        isIncomplete_ = false;
    }
    if (!failure_) return true;
    report(error, failure_);
    return false;
}

bool ColumnWork::applyNoted() {
    std::vector<Noted> noted;
    noted.swap(noted_);
    // In this order SQLite writes each page once, and the full-text module keeps its terms in
    // memory.
    std::stable_sort(noted.begin(), noted.end(),
                     [](const Noted& a, const Noted& b) { return a.rowid < b.rowid; });
    for (std::size_t first = 0, last = 0; first < noted.size(); first = last + 1) {
        last = first;
        while (last + 1 < noted.size() && noted[last + 1].rowid == noted[first].rowid) ++last;
        const bool isNew = noted[first].event == Event::inserted;
        const bool isGone = noted[last].event == Event::removed;
        const std::int64_t rowid = noted[first].rowid;
        bool isDone = true;
        if (isGone)
            isDone = isNew || remove(rowid);
        else if (noted[last].values)
            isDone = writeValues(rowid, isNew, std::move(*noted[last].values));
        else
            isDone = write(rowid, isNew);
        if (!isDone) return false;
    }
    return hasRead();
}

bool ColumnWork::write(std::int64_t rowid, bool isNew) {
    values_.clear();
    context_.rowForRowid(rowid, [&](const YapDatabaseRow& row) {
        if (isAllowed(row.collection)) computeForWriting(row);
    });
    return hasRead() && writeValues(rowid, isNew, values_.take());
}

bool ColumnWork::writeValues(std::int64_t rowid, bool isNew, std::vector<Value> computed) {
    values_.values() = std::move(computed);
    if (values_.isEmpty()) return isNew || remove(rowid);
    const auto stored =
        isNew ? ColumnTable::Stored::absent : table().compare(rowid, values_.values(), &failure_);
    switch (stored) {
        case ColumnTable::Stored::unreadable:
            return false;
        case ColumnTable::Stored::equal:
            return true;
        case ColumnTable::Stored::absent:
            noteChange(rowid);
            return table().insert(rowid, values_.values(), &failure_);
        case ColumnTable::Stored::different:
            break;
    }
    noteChange(rowid);
    return table().replace(rowid, values_.values(), &failure_);
}

void ColumnWork::noteChange(std::int64_t rowid) {
    changed_.push_back(rowid);
    ++changeNumber_;
}

bool ColumnWork::remove(std::int64_t rowid) {
    bool wasThere = false;
    if (!table().remove(rowid, &wasThere, &failure_)) return false;
    if (wasThere) noteChange(rowid);
    return true;
}

const std::vector<std::int64_t>& ColumnWork::changedRowids() {
    if (sortedChanges_ != changed_.size()) {
        std::sort(changed_.begin(), changed_.end());
        changed_.erase(std::unique(changed_.begin(), changed_.end()), changed_.end());
        sortedChanges_ = changed_.size();
    }
    return changed_;
}

bool ColumnWork::fill(Error* error) {
    context_.enumerateRows(index_.allowedCollections(), [&](const YapDatabaseRow& row) {
        if (failure_) return;
        computeForWriting(row);
        if (!values_.isEmpty()) table().insert(row.rowid, values_.values(), &failure_);
    });
    if (!hasRead() || !table().finishFilling(context_, &failure_)) {
        report(error, failure_);
        return false;
    }
    return true;
}

bool ColumnWork::keyOfRow(std::int64_t rowid,
                          const std::function<void(std::string_view, std::string_view)>& block,
                          Error* error) {
    static const std::string text =
        "SELECT collection.name, row.key FROM row JOIN collection ON collection.id=row.collection"
        " WHERE row.rowid=?1";
    std::string collection, key;
    {
        StatementRun run(table().statements(), text);
        UnpackedKey unpacked;
        if (!run.bind(1, rowid).row()) {
            if (run.ok()) return true;
            report(error, run.failure("read"));
            return false;
        }
        const std::string_view bytes = run.text(1);
        if (!unpacked.read({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()},
                           run.isText(1)))
            return true;
        collection = run.text(0);
        key = unpacked.view();
    }
    block(collection, key);
    return true;
}

}  // namespace qsml::detail
