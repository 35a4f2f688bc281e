#include "store/relationships/detail/EdgeState.h"

#include <utility>

namespace qsml::detail {

namespace {

/// The text with {edges}, {incoming}, {names}, {absent} and {manual} as they are called here.
std::string named(const YapDatabaseExtensionContext& context, std::string_view pattern) {
    std::string text;
    while (!pattern.empty()) {
        const std::size_t open = pattern.find('{');
        text += pattern.substr(0, open);
        if (open == std::string_view::npos) break;
        const std::size_t close = pattern.find('}', open);
        text += context.tableName(pattern.substr(open + 1, close - open - 1));
        pattern.remove_prefix(close + 1);
    }
    return text;
}

// A kind is the number of the name, doubled, plus 1 for a manual edge. A destination below 0 is
// minus the number of an absent row. The second index answers by destination, with the rules first,
// so that it tells whether edges with certain rules are left.
constexpr std::string_view tables[] = {
    "CREATE TABLE {edges}(source INTEGER NOT NULL, destination INTEGER NOT NULL,"
    " kind INTEGER NOT NULL, rules INTEGER NOT NULL,"
    " PRIMARY KEY(source, destination, kind)) WITHOUT ROWID",
    "CREATE TABLE {names}(id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE)",
    "CREATE TABLE {absent}(id INTEGER PRIMARY KEY, collection TEXT NOT NULL, key TEXT NOT NULL,"
    " UNIQUE(collection, key))",
    "CREATE TABLE {manual}(source INTEGER NOT NULL, destination INTEGER NOT NULL,"
    " kind INTEGER NOT NULL, sourceCollection TEXT NOT NULL, sourceKey TEXT NOT NULL,"
    " destinationCollection TEXT NOT NULL, destinationKey TEXT NOT NULL,"
    " PRIMARY KEY(source, destination, kind)) WITHOUT ROWID"};
constexpr std::string_view incomingIndex =
    "CREATE INDEX {incoming} ON {edges}(destination, rules, source, kind)";

constexpr std::pair<std::string EdgeTexts::*, std::string_view> statements[] = {
    {&EdgeTexts::names, "SELECT id, name FROM {names} ORDER BY id LIMIT ?1"},
    {&EdgeTexts::nameByNumber, "SELECT name FROM {names} WHERE id=?1"},
    {&EdgeTexts::numberOfName, "SELECT id FROM {names} WHERE name=?1"},
    {&EdgeTexts::insertName, "INSERT INTO {names}(name) VALUES(?1)"},

    {&EdgeTexts::hasAbsent, "SELECT EXISTS(SELECT 1 FROM {absent})"},
    {&EdgeTexts::absentByNumber, "SELECT collection, key FROM {absent} WHERE id=?1"},
    {&EdgeTexts::absentByKey, "SELECT id FROM {absent} WHERE collection=?1 AND key=?2"},
    {&EdgeTexts::insertAbsent, "INSERT INTO {absent}(collection, key) VALUES(?1, ?2)"},
    {&EdgeTexts::removeUnusedAbsent,
     "DELETE FROM {absent} WHERE id=?1"
     " AND NOT EXISTS(SELECT 1 FROM {edges} WHERE destination=-?1)"},
    {&EdgeTexts::address, "SELECT collection, key FROM records WHERE rowid=?1"},

    {&EdgeTexts::outgoing, "SELECT source, destination, kind, rules FROM {edges} WHERE source=?1"},
    {&EdgeTexts::incoming,
     "SELECT source, destination, kind, rules FROM {edges} WHERE destination=?1"},
    {&EdgeTexts::page,
     "SELECT source, destination, kind, rules FROM {edges}"
     " WHERE (source, destination, kind)>(?1, ?2, ?3)"
     " ORDER BY source, destination, kind LIMIT 1000"},
    {&EdgeTexts::find, "SELECT rules FROM {edges} WHERE source=?1 AND destination=?2 AND kind=?3"},
    {&EdgeTexts::insert, "INSERT OR REPLACE INTO {edges} VALUES(?1, ?2, ?3, ?4)"},
    {&EdgeTexts::move,
     "UPDATE OR REPLACE {edges} SET source=?4, destination=?5"
     " WHERE source=?1 AND destination=?2 AND kind=?3"},
    {&EdgeTexts::remove, "DELETE FROM {edges} WHERE source=?1 AND destination=?2 AND kind=?3"},
    {&EdgeTexts::removeOutgoing, "DELETE FROM {edges} WHERE source=?1"},
    {&EdgeTexts::hasIncoming,
     "SELECT 1 FROM {edges} WHERE destination=?1 AND rules>=8 AND rules & 40 LIMIT 1"},
    {&EdgeTexts::hasOutgoing,
     "SELECT 1 FROM {edges} WHERE source=?1 AND destination>0 AND rules & 20 LIMIT 1"},

    {&EdgeTexts::insertManual,
     "INSERT OR REPLACE INTO {manual} VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)"},
    {&EdgeTexts::moveManual,
     "UPDATE OR REPLACE {manual} SET source=?4, destination=?5"
     " WHERE source=?1 AND destination=?2 AND kind=?3"},
    {&EdgeTexts::removeManual,
     "DELETE FROM {manual} WHERE source=?1 AND destination=?2 AND kind=?3"},
    {&EdgeTexts::manuals,
     "SELECT source, destination, kind, rules, sourceCollection, sourceKey, destinationCollection,"
     " destinationKey FROM {manual} JOIN {edges} USING(source, destination, kind)"},
    {&EdgeTexts::dropManuals, "DELETE FROM {edges} WHERE kind & 1"},
    {&EdgeTexts::forgetManuals, "DELETE FROM {manual}"},

    {&EdgeTexts::strayEdges,
     "SELECT source, destination, kind, rules FROM {edges} AS edge WHERE"
     " NOT EXISTS(SELECT 1 FROM row WHERE rowid=source) OR (destination>0 AND"
     " NOT EXISTS(SELECT 1 FROM row WHERE rowid=destination)) OR (destination<=0 AND"
     " NOT EXISTS(SELECT 1 FROM {absent} WHERE id=-destination)) OR"
     " NOT EXISTS(SELECT 1 FROM {names} WHERE id=kind>>1) OR (kind & 1 AND"
     " NOT EXISTS(SELECT 1 FROM {manual} AS manual WHERE manual.source=edge.source AND"
     " manual.destination=edge.destination AND manual.kind=edge.kind))"},
    {&EdgeTexts::removeStrayEdges,
     "DELETE FROM {edges} WHERE NOT EXISTS(SELECT 1 FROM row WHERE rowid=source) OR"
     " (destination>0 AND NOT EXISTS(SELECT 1 FROM row WHERE rowid=destination))"},
    {&EdgeTexts::absents, "SELECT id, collection, key FROM {absent}"},
    {&EdgeTexts::lostManuals,
     "SELECT sourceCollection, sourceKey FROM {manual} AS manual WHERE NOT EXISTS(SELECT 1 FROM"
     " {edges} AS edge WHERE manual.source=edge.source AND"
     " manual.destination=edge.destination AND manual.kind=edge.kind)"},
};

}  // namespace

EdgeTexts::EdgeTexts(const YapDatabaseExtensionContext& context) {
    for (const std::string_view text : tables) create.push_back(named(context, text));
    createIndex = named(context, incomingIndex);
    dropIndex = "DROP INDEX IF EXISTS " + context.tableName("incoming");
    for (const char* table : {"edges", "names", "absent", "manual"})
        drop.push_back("DROP TABLE IF EXISTS " + context.tableName(table));
    for (const auto& [member, text] : statements) this->*member = named(context, text);
}

void EdgeState::add(std::int64_t number, std::string_view name) {
    if (names.size() >= namesLimit) return;
    numbers.emplace(std::string(name), number);
    names.emplace(number, String(name.data() ? name : std::string_view("")));
}

}  // namespace qsml::detail
