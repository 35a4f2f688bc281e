#include "store/relationships/YapDatabaseRelationship.h"

#include <sqlite3.h>

#include "store/relationships/YapDatabaseRelationshipTransaction.h"
#include "store/relationships/detail/EdgeTables.h"
#include "store/relationships/detail/checkEdges.h"
#include "store/relationships/detail/fillEdges.h"

namespace qsml {

namespace {

/// Runs the work on the tables and answers whether all of it could be done.
template <class Work>
bool withTables(YapDatabaseExtensionContext& context,
                std::shared_ptr<const detail::EdgeState> state, Error* error, Work&& work) {
    detail::EdgeTables tables(context, std::move(state));
    work(tables);
    if (!tables.ok()) report(error, tables.error());
    return tables.ok();
}

/// Of tables that may not be there.
std::shared_ptr<const detail::EdgeState> textsOnly(YapDatabaseExtensionContext& context) {
    auto state = std::make_shared<detail::EdgeState>();
    state->texts = std::make_shared<const detail::EdgeTexts>(context);
    return state;
}

}  // namespace

YapDatabaseRelationship::YapDatabaseRelationship(std::string versionTag, Options options)
    : YapDatabaseExtension(std::move(versionTag)), options_(std::move(options)) {}

YapDatabaseRelationship::~YapDatabaseRelationship() = default;

std::string YapDatabaseRelationship::configuration() const {
    if (!options_.allowedCollections) return "all";
    std::string text = "only";  // with lengths, because a name may hold any text
    for (const std::string& name : *options_.allowedCollections)
        text += " " + std::to_string(name.size()) + ":" + name;
    return text;
}

bool YapDatabaseRelationship::createTables(YapDatabaseExtensionContext& context, Error* error) {
    return withTables(context, textsOnly(context), error, [](detail::EdgeTables& tables) {
        tables.execute(tables.texts().create);
        tables.execute(tables.texts().createIndex);
    });
}

bool YapDatabaseRelationship::dropTables(YapDatabaseExtensionContext& context, Error* error) {
    return withTables(context, textsOnly(context), error,
                      [](detail::EdgeTables& tables) { tables.execute(tables.texts().drop); });
}

bool YapDatabaseRelationship::fill(YapDatabaseExtensionContext& context, Error* error) {
    return withTables(context, textsOnly(context), error, [&](detail::EdgeTables& tables) {
        tables.execute(tables.texts().dropIndex);  // made at the end, by one sort
        detail::fillEdges(tables, options_.allowedCollections);
        tables.execute(tables.texts().createIndex);
    });
}

bool YapDatabaseRelationship::rebuild(YapDatabaseExtensionContext& context, Error* error) {
    Error cause;
    auto state = detail::EdgeTables::loadState(context, &cause);
    const bool isDone =
        !cause && withTables(context, std::move(state), &cause, [&](detail::EdgeTables& tables) {
            detail::rebuildEdges(tables, options_.allowedCollections);
        });
    if (isDone) return true;
    if (cause.code == SQLITE_ERROR)  // a table is missing, so there is nothing to keep
        return YapDatabaseExtension::rebuild(context, error);
    report(error, cause);
    return false;
}

std::shared_ptr<const YapDatabaseExtensionState> YapDatabaseRelationship::loadState(
    YapDatabaseExtensionContext& context, Error* error) {
    return detail::EdgeTables::loadState(context, error);
}

std::unique_ptr<YapDatabaseExtensionTransaction> YapDatabaseRelationship::newTransaction(
    YapDatabaseExtensionContext& context, std::shared_ptr<const YapDatabaseExtensionState> state) {
    return std::make_unique<YapDatabaseRelationshipTransaction>(context, options_,
                                                                std::move(state));
}

bool YapDatabaseRelationship::check(
    YapDatabaseExtensionContext& context,
    const std::function<void(std::string_view collection, std::string_view key,
                             std::string_view description)>& fault,
    Error* error) {
    Error unreadable;
    auto state = detail::EdgeTables::loadState(context, &unreadable);
    if (unreadable) {
        report(error, unreadable);
        return false;
    }
    return withTables(context, std::move(state), error, [&](detail::EdgeTables& tables) {
        detail::checkEdges(tables, options_.allowedCollections, fault);
    });
}

}  // namespace qsml
