#include "store/detail/ExtensionWork.h"

#include <algorithm>

#include "foundation/Log.h"
#include "store/detail/ConnectionCore.h"

namespace qsml::detail {

namespace {

constexpr int flushLimit = 1000;  // passes; more means extensions that answer each other for ever

Error extensionError(const std::string& name, std::string_view what) {
    return {.domain = std::string(YapDatabaseErrorDomain),
            .code = static_cast<std::int64_t>(YapDatabaseErrorCode::extension),
            .description = "The extension \"" + name + "\" " + std::string(what) + "."};
}

}  // namespace

ExtensionWork::ExtensionWork(ConnectionCore& connection, SnapshotStatePointer state)
    : connection_(connection), state_(std::move(state)), parts_(state_->extensions.size()) {}

ExtensionWork::~ExtensionWork() = default;

YapDatabaseExtensionTransaction& ExtensionWork::part(std::size_t index) {
    Part& part = parts_[index];
    if (!part.transaction) {
        const auto& registered = state_->extensions[index];
        part.context = std::make_unique<ExtensionContext>(connection_, registered);
        part.transaction =
            registered->extension->newTransaction(*part.context, state_->states[index]);
    }
    return *part.transaction;
}

void ExtensionWork::useChildren() {
    const auto takesPart = [&](const std::string& name) {
        const std::size_t index = state_->indexOf(name);
        return index != SnapshotState::npos && parts_[index].transaction;
    };
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        const auto& parents = state_->extensions[i]->parents;
        if (std::any_of(parents.begin(), parents.end(), takesPart)) part(i);
    }
}

YapDatabaseExtensionTransaction* ExtensionWork::named(std::string_view name) {
    const std::size_t index = state_->indexOf(name);
    return index == SnapshotState::npos ? nullptr : &part(index);
}

bool ExtensionWork::sees(std::size_t index, std::string_view collection) const {
    const auto* allowed = state_->extensions[index]->extension->allowedCollections();
    return !allowed || allowed->find(collection) != allowed->end();
}

const ExtensionWork::Concerned& ExtensionWork::concernedBy(std::string_view collection) {
    const auto known = concerned_.find(collection);
    if (known != concerned_.end()) return known->second;
    Concerned made;
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (sees(i, collection)) made.seeing.push_back(i);
        const auto* watched = state_->extensions[i]->extension->collectionsWithDependents();
        if (!watched || watched->find(collection) != watched->end())
            made.withDependents.push_back(i);
    }
    return concerned_.emplace(collection, std::move(made)).first->second;
}

void ExtensionWork::didInsert(const YapDatabaseRow& row) {
    for (const std::size_t i : concernedBy(row.collection).seeing) part(i).didInsertRow(row);
    gatherDependents(row);
}

void ExtensionWork::didUpdate(const YapDatabaseRow& row, YapDatabaseUpdate update) {
    for (const std::size_t i : concernedBy(row.collection).seeing)
        part(i).didUpdateRow(row, update);
    gatherDependents(row);
}

void ExtensionWork::willRemove(const YapDatabaseRow& row) {
    for (const std::size_t i : concernedBy(row.collection).seeing) part(i).willRemoveRow(row);
    gatherDependents(row);
}

void ExtensionWork::didRemove(const YapDatabaseRow& row) {
    for (const std::size_t i : concernedBy(row.collection).seeing) part(i).didRemoveRow(row);
}

void ExtensionWork::gatherDependents(const YapDatabaseRow& row) {
    for (const std::size_t i : concernedBy(row.collection).withDependents) {
        for (YapDatabaseCollectionKey& dependent : part(i).dependentsOfRow(row)) {
            Part& part = parts_[i];
            if (!sees(i, dependent.collection)) continue;
            if (part.knownDependents.emplace(dependent.collection, dependent.key).second)
                part.dependents.push_back(std::move(dependent));
        }
    }
}

bool ExtensionWork::deliverDependents(std::size_t index) {
    Part& part = parts_[index];
    while (!part.dependents.empty()) {
        std::vector<YapDatabaseCollectionKey> dependents;
        dependents.swap(part.dependents);
        part.knownDependents.clear();
        for (const YapDatabaseCollectionKey& dependent : dependents) {
            const auto rowid = connection_.rowid(dependent.key, dependent.collection);
            if (!rowid) continue;
            connection_.readRow(*rowid, [&](const YapDatabaseRow& row) {
                part.transaction->dependentChanged(row);
            });
        }
    }
    return !connection_.hasFailed();
}

bool ExtensionWork::hasOwnChanges() const {
    for (const Part& part : parts_)
        if (part.transaction && part.transaction->hasOwnChanges()) return true;
    return false;
}

bool ExtensionWork::flushOnce(Error* error) {
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (!parts_[i].transaction) continue;
        if (!deliverDependents(i)) return false;
        Error cause;
        if (part(i).flush(&cause)) continue;
        report(error,
               cause ? cause : extensionError(state_->extensions[i]->name, "could not be updated"));
        return false;
    }
    return true;
}

bool ExtensionWork::flush(Error* error) {
    for (int pass = 0; pass < flushLimit; ++pass) {
        useChildren();
        const std::uint64_t before = connection_.numberOfRowOperations();
        if (!flushOnce(error)) return false;
        if (connection_.numberOfRowOperations() == before) return true;
    }
    report(error, extensionError(state_->extensions[0]->name, "and others keep writing rows"));
    return false;
}

bool ExtensionWork::writeTables(Error* error) {
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        Error cause;
        if (!parts_[i].transaction || parts_[i].transaction->writeTables(&cause)) continue;
        report(error,
               cause ? cause : extensionError(state_->extensions[i]->name, "could not be written"));
        return false;
    }
    return true;
}

std::map<std::string, std::shared_ptr<const YapDatabaseExtensionChanges>, std::less<>>
ExtensionWork::changes() {
    std::map<std::string, std::shared_ptr<const YapDatabaseExtensionChanges>, std::less<>> all;
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (!parts_[i].transaction) continue;
        if (auto changes = parts_[i].transaction->changes())
            all.emplace(state_->extensions[i]->name, std::move(changes));
    }
    return all;
}

std::shared_ptr<const YapDatabaseExtensionState> ExtensionWork::newState(std::size_t index) {
    Part& part = parts_[index];
    return part.transaction ? part.transaction->newState() : state_->states[index];
}

void ExtensionWork::didCommit() {
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (!parts_[i].transaction) continue;
        try {
            parts_[i].transaction->didCommit();
        } catch (const std::exception& exception) {
            log("Warning: the extension \"" + state_->extensions[i]->name +
                "\" failed after a commit: " + exception.what());
        }
    }
}

}  // namespace qsml::detail
