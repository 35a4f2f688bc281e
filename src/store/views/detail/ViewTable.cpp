#include "store/views/detail/ViewTable.h"

#include <sqlite3.h>

#include "store/views/detail/ViewFailure.h"

namespace qsml::detail {

ViewTable::ViewTable(YapDatabaseExtensionContext& context)
    : context_(context),
      statements_(StatementCache::of(context.handle())),
      groups_(context.tableName("groups")),
      nodes_(context.tableName("nodes")),
      places_(context.tableName("places")),
      findNode_("SELECT data FROM " + nodes_ + " WHERE id=?1"),
      findPlace_("SELECT viewgroup, sortkey FROM " + places_ + " WHERE rowid=?1"),
      writeNode_("INSERT OR REPLACE INTO " + nodes_ + "(id, data) VALUES(?1, ?2)"),
      removeNode_("DELETE FROM " + nodes_ + " WHERE id=?1"),
      writePlace_("INSERT OR REPLACE INTO " + places_ +
                  "(rowid, viewgroup, sortkey) VALUES(?1, ?2, ?3)"),
      removePlace_("DELETE FROM " + places_ + " WHERE rowid=?1") {}

bool ViewTable::execute(const std::string& sql, Error* error) {
    if (sqlite3_exec(context_.handle(), sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK)
        return true;
    report(error, failureOf(context_.handle(), "changed"));
    return false;
}

bool ViewTable::create(Error* error) {
    return execute("CREATE TABLE " + groups_ +
                       "(id INTEGER PRIMARY KEY, name TEXT NOT NULL, root INTEGER NOT NULL,"
                       " count INTEGER NOT NULL)",
                   error) &&
           execute("CREATE TABLE " + nodes_ + "(id INTEGER PRIMARY KEY, data BLOB NOT NULL)",
                   error) &&
           execute("CREATE TABLE " + places_ +
                       "(rowid INTEGER PRIMARY KEY, viewgroup INTEGER NOT NULL, sortkey BLOB)",
                   error);
}

bool ViewTable::drop(Error* error) {
    for (const std::string* table : {&groups_, &nodes_, &places_})
        if (!execute("DROP TABLE IF EXISTS " + *table, error)) return false;
    return true;
}

void ViewTable::require(const StatementRun& run) {
    if (!run.ok()) throw ViewFailure(run.failure("read").description);
}

std::shared_ptr<ViewState> ViewTable::loadState() {
    auto state = std::make_shared<ViewState>();
    StatementRun groups(statements_, "SELECT id, name, root, count FROM " + groups_);
    while (groups.row()) {
        const auto count = static_cast<std::uint64_t>(groups.number(3));
        if (groups.number(3) <= 0)
            throw ViewFailure("A group of the view " + groups_ + " has a damaged count.");
        state->put(std::make_shared<ViewGroup>(
            ViewGroup{groups.number(0), groups.text(1), ViewTree(groups.number(2), count)}));
        state->nextGroup = std::max(state->nextGroup, groups.number(0) + 1);
    }
    require(groups);
    StatementRun last(statements_, "SELECT ifnull(max(id), 0) FROM " + nodes_);
    if (last.row()) state->nextNode = last.number(0) + 1;
    require(last);
    return state;
}

std::string ViewTable::nodeData(std::int64_t id) {
    StatementRun run(statements_, findNode_);
    if (run.bind(1, id).row()) return std::string(run.text(0));
    require(run);
    throw ViewFailure("Node " + std::to_string(id) + " is missing in the view " + nodes_ + ".");
}

std::optional<StoredPlace> ViewTable::place(std::int64_t rowid) {
    StatementRun run(statements_, findPlace_);
    if (run.bind(1, rowid).row()) return StoredPlace{run.number(0), std::string(run.text(1))};
    require(run);
    return std::nullopt;
}

void ViewTable::enumeratePlaces(
    const std::function<void(std::int64_t rowid, StoredPlace place)>& block) {
    StatementRun run(statements_, "SELECT rowid, viewgroup, sortkey FROM " + places_);
    while (run.row()) block(run.number(0), {run.number(1), std::string(run.text(2))});
    require(run);
}

void ViewTable::enumerateNodeIds(const std::function<void(std::int64_t id)>& block) {
    StatementRun run(statements_, "SELECT id FROM " + nodes_);
    while (run.row()) block(run.number(0));
    require(run);
}

bool ViewTable::finish(StatementRun& run, Error* error) {
    if (run.run()) return true;
    report(error, run.failure("written"));
    return false;
}

bool ViewTable::writeGroup(const ViewGroup& group, Error* error) {
    StatementRun run(statements_, "INSERT OR REPLACE INTO " + groups_ +
                                      "(id, name, root, count) VALUES(?1, ?2, ?3, ?4)");
    run.bind(1, group.id).bindText(2, group.name).bind(3, group.tree.rootId());
    return finish(run.bind(4, static_cast<std::int64_t>(group.tree.count())), error);
}

bool ViewTable::removeGroup(std::int64_t id, Error* error) {
    StatementRun run(statements_, "DELETE FROM " + groups_ + " WHERE id=?1");
    return finish(run.bind(1, id), error);
}

bool ViewTable::writeNode(std::int64_t id, std::string_view data, Error* error) {
    StatementRun run(statements_, writeNode_);
    return finish(run.bind(1, id).bindBlob(2, data), error);
}

bool ViewTable::removeNode(std::int64_t id, Error* error) {
    StatementRun run(statements_, removeNode_);
    return finish(run.bind(1, id), error);
}

bool ViewTable::writePlace(std::int64_t rowid, std::int64_t group, std::string_view key,
                           Error* error) {
    StatementRun run(statements_, writePlace_);
    return finish(run.bind(1, rowid).bind(2, group).bindBlob(3, key), error);
}

bool ViewTable::removePlace(std::int64_t rowid, Error* error) {
    StatementRun run(statements_, removePlace_);
    return finish(run.bind(1, rowid), error);
}

}  // namespace qsml::detail
