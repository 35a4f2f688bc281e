#include "store/views/detail/ViewTable.h"

#include <sqlite3.h>

#include "store/views/detail/ViewFailure.h"

namespace qsml::detail {

struct ViewTable::Texts {
    explicit Texts(const YapDatabaseExtensionContext& context)
        : groups(context.tableName("groups")),
          nodes(context.tableName("nodes")),
          places(context.tableName("places")) {}

    std::string groups, nodes, places;
    std::string findNode = "SELECT data FROM " + nodes + " WHERE id=?1";
    std::string writeNode = "INSERT OR REPLACE INTO " + nodes + "(id, data) VALUES(?1, ?2)";
    std::string removeNode = "DELETE FROM " + nodes + " WHERE id=?1";
    std::string findPlace = "SELECT viewgroup, sortkey FROM " + places + " WHERE rowid=?1";
    std::string writePlace =
        "INSERT OR REPLACE INTO " + places + "(rowid, viewgroup, sortkey) VALUES(?1, ?2, ?3)";
    std::string removePlace = "DELETE FROM " + places + " WHERE rowid=?1";
    std::string writeGroup =
        "INSERT OR REPLACE INTO " + groups + "(id, name, root, count) VALUES(?1, ?2, ?3, ?4)";
    std::string removeGroup = "DELETE FROM " + groups + " WHERE id=?1";
};

std::shared_ptr<const ViewTable::Texts> ViewTable::texts(YapDatabaseExtensionContext& context) {
    std::shared_ptr<void>& slot = context.slot();
    if (!slot) slot = std::make_shared<Texts>(context);
    return std::static_pointer_cast<const Texts>(slot);
}

ViewTable::ViewTable(YapDatabaseExtensionContext& context)
    : context_(context),
      statements_(StatementCache::of(context.handle())),
      texts_(texts(context)) {}

bool ViewTable::execute(const std::string& sql, Error* error) {
    if (sqlite3_exec(context_.handle(), sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK)
        return true;
    report(error, failureOf(context_.handle(), "changed"));
    return false;
}

bool ViewTable::create(Error* error) {
    return execute("CREATE TABLE " + texts_->groups +
                       "(id INTEGER PRIMARY KEY, name TEXT NOT NULL, root INTEGER NOT NULL,"
                       " count INTEGER NOT NULL)",
                   error) &&
           execute("CREATE TABLE " + texts_->nodes + "(id INTEGER PRIMARY KEY, data BLOB NOT NULL)",
                   error) &&
           execute("CREATE TABLE " + texts_->places +
                       "(rowid INTEGER PRIMARY KEY, viewgroup INTEGER NOT NULL, sortkey BLOB)",
                   error);
}

bool ViewTable::drop(Error* error) {
    for (const std::string* table : {&texts_->groups, &texts_->nodes, &texts_->places})
        if (!execute("DROP TABLE IF EXISTS " + *table, error)) return false;
    return true;
}

void ViewTable::require(const StatementRun& run) {
    if (!run.ok()) throw ViewFailure(run.failure("read").description);
}

std::shared_ptr<ViewState> ViewTable::loadState() {
    auto state = std::make_shared<ViewState>();
    StatementRun groups(statements_, "SELECT id, name, root, count FROM " + texts_->groups);
    while (groups.row()) {
        const auto count = static_cast<std::uint64_t>(groups.number(3));
        if (groups.number(3) <= 0)
            throw ViewFailure("A group of the view " + texts_->groups + " has a damaged count.");
        state->put(std::make_shared<ViewGroup>(
            ViewGroup{groups.number(0), groups.text(1), ViewTree(groups.number(2), count)}));
        state->nextGroup = std::max(state->nextGroup, groups.number(0) + 1);
    }
    require(groups);
    StatementRun last(statements_, "SELECT ifnull(max(id), 0) FROM " + texts_->nodes);
    if (last.row()) state->nextNode = last.number(0) + 1;
    require(last);
    return state;
}

std::string ViewTable::nodeData(std::int64_t id) {
    StatementRun run(statements_, texts_->findNode);
    if (run.bind(1, id).row()) return std::string(run.text(0));
    require(run);
    throw ViewFailure("Node " + std::to_string(id) + " is missing in the view " + texts_->nodes +
                      ".");
}

std::optional<StoredPlace> ViewTable::place(std::int64_t rowid) {
    StatementRun run(statements_, texts_->findPlace);
    if (run.bind(1, rowid).row()) return StoredPlace{run.number(0), std::string(run.text(1))};
    require(run);
    return std::nullopt;
}

void ViewTable::enumeratePlaces(
    const std::function<void(std::int64_t rowid, StoredPlace place)>& block) {
    StatementRun run(statements_, "SELECT rowid, viewgroup, sortkey FROM " + texts_->places);
    while (run.row()) block(run.number(0), {run.number(1), std::string(run.text(2))});
    require(run);
}

void ViewTable::enumerateNodeIds(const std::function<void(std::int64_t id)>& block) {
    StatementRun run(statements_, "SELECT id FROM " + texts_->nodes);
    while (run.row()) block(run.number(0));
    require(run);
}

bool ViewTable::finish(StatementRun& run, Error* error) {
    if (run.run()) return true;
    report(error, run.failure("written"));
    return false;
}

bool ViewTable::writeGroup(const ViewGroup& group, Error* error) {
    StatementRun run(statements_, texts_->writeGroup);
    run.bind(1, group.id).bindText(2, group.name).bind(3, group.tree.rootId());
    return finish(run.bind(4, static_cast<std::int64_t>(group.tree.count())), error);
}

bool ViewTable::removeGroup(std::int64_t id, Error* error) {
    StatementRun run(statements_, texts_->removeGroup);
    return finish(run.bind(1, id), error);
}

bool ViewTable::writeNode(std::int64_t id, std::string_view data, Error* error) {
    StatementRun run(statements_, texts_->writeNode);
    return finish(run.bind(1, id).bindBlob(2, data), error);
}

bool ViewTable::removeNode(std::int64_t id, Error* error) {
    StatementRun run(statements_, texts_->removeNode);
    return finish(run.bind(1, id), error);
}

bool ViewTable::writePlace(std::int64_t rowid, std::int64_t group, std::string_view key,
                           Error* error) {
    StatementRun run(statements_, texts_->writePlace);
    return finish(run.bind(1, rowid).bind(2, group).bindBlob(3, key), error);
}

bool ViewTable::removePlace(std::int64_t rowid, Error* error) {
    StatementRun run(statements_, texts_->removePlace);
    return finish(run.bind(1, rowid), error);
}

}  // namespace qsml::detail
