#include "store/relationships/detail/EdgeTables.h"

#include <sqlite3.h>

#include <algorithm>

#include "store/detail/SqliteHandle.h"

namespace qsml::detail {

namespace {

Error lastError(sqlite3* handle, std::string_view action) {
    const char* path = sqlite3_db_filename(handle, "main");
    return fileError(sqlite3_extended_errcode(handle), path ? path : "", action,
                     sqlite3_errmsg(handle));
}

/// Texts of columns may be empty, but are never nil.
String textOf(const Query& query, int column) {
    const std::string_view text = query.text(column);
    return String(text.data() ? text : std::string_view(""));
}

StoredEdge edgeOf(const Query& query) {
    return {query.number(0), query.number(1), query.number(2), query.number(3)};
}

void bindIdentity(Query& query, const StoredEdge& edge) {
    query.bind(1, edge.source).bind(2, edge.destination).bind(3, edge.kind);
}

}  // namespace

/// Each is prepared when it is first used, and stays so on its connection.
struct EdgeTables::Statements {
    explicit Statements(std::shared_ptr<const EdgeTexts> all) : Statements(*all, all) {}
    Statements(const EdgeTexts& texts, std::shared_ptr<const EdgeTexts> all)
        : kept(std::move(all)),
          nameByNumber(texts.nameByNumber.c_str()),
          numberOfName(texts.numberOfName.c_str()),
          insertName(texts.insertName.c_str()),
          absentByNumber(texts.absentByNumber.c_str()),
          absentByKey(texts.absentByKey.c_str()),
          insertAbsent(texts.insertAbsent.c_str()),
          removeUnusedAbsent(texts.removeUnusedAbsent.c_str()),
          address(texts.address.c_str()),
          outgoing(texts.outgoing.c_str()),
          incoming(texts.incoming.c_str()),
          page(texts.page.c_str()),
          find(texts.find.c_str()),
          insert(texts.insert.c_str()),
          move(texts.move.c_str()),
          remove(texts.remove.c_str()),
          removeOutgoing(texts.removeOutgoing.c_str()),
          hasIncoming(texts.hasIncoming.c_str()),
          hasOutgoing(texts.hasOutgoing.c_str()),
          insertManual(texts.insertManual.c_str()),
          moveManual(texts.moveManual.c_str()),
          removeManual(texts.removeManual.c_str()) {}

    std::shared_ptr<const EdgeTexts> kept;
    Statement nameByNumber, numberOfName, insertName;
    Statement absentByNumber, absentByKey, insertAbsent, removeUnusedAbsent;
    Statement address;
    Statement outgoing, incoming, page, find, insert, move, remove, removeOutgoing;
    Statement hasIncoming, hasOutgoing;
    Statement insertManual, moveManual, removeManual;
};

EdgeTables::EdgeTables(YapDatabaseExtensionContext& context, std::shared_ptr<const EdgeState> state)
    : context_(context),
      state_(std::move(state)),
      texts_(state_->texts),
      lists_(state_->lists),
      hasAbsent_(state_->hasAbsent) {
    auto& slot = context_.slot();
    statements_ = std::static_pointer_cast<Statements>(slot);
    if (statements_ && statements_->kept == texts_) return;
    statements_ = std::make_shared<Statements>(texts_);
    slot = statements_;
}

EdgeTables::~EdgeTables() = default;

std::shared_ptr<const EdgeState> EdgeTables::loadState(YapDatabaseExtensionContext& context,
                                                       Error* error) {
    auto state = std::make_shared<EdgeState>();
    state->texts = std::make_shared<const EdgeTexts>(context);
    Statement names(state->texts->names.c_str()), hasAbsent(state->texts->hasAbsent.c_str());
    Query query(names, context.handle());
    query.bind(1, static_cast<std::int64_t>(EdgeState::namesLimit));
    while (query.row()) state->add(query.number(0), query.text(1));
    if (!query.ok()) report(error, lastError(context.handle(), "read"));
    Query second(hasAbsent, context.handle());
    if (second.row()) state->hasAbsent = second.number(0) != 0;
    if (!second.ok()) report(error, lastError(context.handle(), "read"));
    return state;
}

std::shared_ptr<const EdgeState> EdgeTables::state() {
    if (newNames_.empty() && hasAbsent_ == state_->hasAbsent && lists_ == state_->lists)
        return state_;
    auto next = std::make_shared<EdgeState>(*state_);
    for (const auto& [number, name] : newNames_) next->add(number, name.view());
    next->hasAbsent = hasAbsent_;
    next->lists = lists_;
    return next;
}

void EdgeTables::fail(Error error) {
    if (ok()) error_ = std::move(error);
}

void EdgeTables::failWith(std::string_view action) {
    if (ok()) error_ = lastError(context_.handle(), action);
}

void EdgeTables::expectRead() {
    const int code = sqlite3_errcode(context_.handle());
    if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE) failWith("read");
}

void EdgeTables::execute(const std::string& sql) {
    if (!ok()) return;
    if (sqlite3_exec(context_.handle(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        failWith("written");
}

void EdgeTables::execute(const std::vector<std::string>& texts) {
    for (const std::string& sql : texts) execute(sql);
}

std::int64_t EdgeTables::numberOfName(std::string_view name) {
    const auto known = state_->numbers.find(name);
    if (known != state_->numbers.end()) return known->second;
    for (const auto& [number, made] : newNames_)
        if (made == name) return number;
    if (!ok()) return 0;
    Query query(statements_->numberOfName, context_.handle());
    query.bindText(1, name);
    if (query.row()) return query.number(0);
    if (!query.ok()) failWith("read");
    return 0;
}

std::int64_t EdgeTables::numberForName(std::string_view name) {
    const std::int64_t known = numberOfName(name);
    if (known || !ok()) return known;
    Query query(statements_->insertName, context_.handle());
    query.bindText(1, name);
    if (!query.run()) {
        failWith("written");
        return 0;
    }
    const std::int64_t number = sqlite3_last_insert_rowid(context_.handle());
    if (newNames_.size() < EdgeState::namesLimit)
        newNames_.emplace_back(number, String(name.data() ? name : std::string_view("")));
    return number;
}

String EdgeTables::name(std::int64_t number) {
    const auto known = state_->names.find(number);
    if (known != state_->names.end()) return known->second;
    if (!ok()) return {};
    Query query(statements_->nameByNumber, context_.handle());
    if (query.bind(1, number).row()) return textOf(query, 0);
    if (!query.ok()) failWith("read");
    return {};
}

std::optional<std::int64_t> EdgeTables::row(std::string_view key, std::string_view collection) {
    if (!ok() || !key.data()) return std::nullopt;
    const auto found = context_.rowidForKey(key, collection);
    if (!found) expectRead();
    return found;
}

std::int64_t EdgeTables::absent(std::string_view key, std::string_view collection) {
    if (!hasAbsent_ || !ok()) return 0;
    Query query(statements_->absentByKey, context_.handle());
    if (query.bindText(1, collection).bindText(2, key).row()) return -query.number(0);
    if (!query.ok()) failWith("read");
    return 0;
}

std::int64_t EdgeTables::absentFor(std::string_view key, std::string_view collection) {
    const std::int64_t known = absent(key, collection);
    if (known || !ok()) return known;
    Query query(statements_->insertAbsent, context_.handle());
    if (!query.bindText(1, collection).bindText(2, key).run()) {
        failWith("written");
        return 0;
    }
    hasAbsent_ = true;
    return -sqlite3_last_insert_rowid(context_.handle());
}

std::optional<YapDatabaseCollectionKey> EdgeTables::address(std::int64_t end) {
    if (!ok()) return std::nullopt;
    Query query(end < 0 ? statements_->absentByNumber : statements_->address, context_.handle());
    if (query.bind(1, end < 0 ? -end : end).row())
        return YapDatabaseCollectionKey{textOf(query, 0), textOf(query, 1)};
    if (!query.ok()) failWith("read");
    return std::nullopt;
}

std::vector<StoredEdge> EdgeTables::edges(Statement& statement, std::int64_t end) {
    std::vector<StoredEdge> found;
    if (!ok()) return found;
    Query query(statement, context_.handle());
    query.bind(1, end);
    while (query.row()) found.push_back(edgeOf(query));
    if (!query.ok()) failWith("read");
    return found;
}

std::vector<StoredEdge> EdgeTables::outgoing(std::int64_t source) {
    return edges(statements_->outgoing, source);
}

std::vector<StoredEdge> EdgeTables::incoming(std::int64_t destination) {
    return edges(statements_->incoming, destination);
}

std::vector<StoredEdge> EdgeTables::after(const StoredEdge& last) {
    std::vector<StoredEdge> found;
    if (!ok()) return found;
    Query query(statements_->page, context_.handle());
    bindIdentity(query, last);
    while (query.row()) found.push_back(edgeOf(query));
    if (!query.ok()) failWith("read");
    return found;
}

std::optional<std::int64_t> EdgeTables::rules(const StoredEdge& edge) {
    if (!ok()) return std::nullopt;
    Query query(statements_->find, context_.handle());
    bindIdentity(query, edge);
    if (query.row()) return query.number(0);
    if (!query.ok()) failWith("read");
    return std::nullopt;
}

bool EdgeTables::exists(Statement& statement, std::int64_t end) {
    if (!ok()) return true;  // the answer that deletes nothing
    Query query(statement, context_.handle());
    const bool isFound = query.bind(1, end).row();
    if (!query.ok()) failWith("read");
    return isFound || !ok();
}

bool EdgeTables::hasDeletingIncoming(std::int64_t destination) {
    return exists(statements_->hasIncoming, destination);
}

bool EdgeTables::hasDeletingOutgoing(std::int64_t source) {
    return exists(statements_->hasOutgoing, source);
}

std::shared_ptr<const KnownList> EdgeTables::knownList(std::int64_t source) const {
    for (const auto& known : lists_)
        if (known->stored.front().source == source) return known;
    return nullptr;
}

void EdgeTables::keepList(EdgeList list, std::vector<StoredEdge> stored) {
    constexpr std::size_t shortest = 32, longest = 20'000;
    if (stored.size() < shortest || stored.size() > longest) return;
    keepList(std::make_shared<const KnownList>(KnownList{std::move(list), std::move(stored)}));
}

void EdgeTables::keepList(std::shared_ptr<const KnownList> known) {
    constexpr std::size_t count = 8;
    forgetList(known->stored.front().source);
    if (lists_.size() == count) lists_.erase(lists_.begin());
    lists_.push_back(std::move(known));
}

void EdgeTables::forgetList(std::int64_t source) {
    std::erase_if(lists_,
                  [&](const auto& known) { return known->stored.front().source == source; });
}

void EdgeTables::run(Query& query, const StoredEdge& edge) {
    bindIdentity(query, edge);
    if (!query.run()) failWith("written");
}

void EdgeTables::insert(const StoredEdge& edge) {
    if (!ok()) return;
    Query query(statements_->insert, context_.handle());
    query.bind(4, edge.rules);
    run(query, edge);
}

void EdgeTables::insertManual(const StoredEdge& edge, const YapDatabaseCollectionKey& source,
                              const YapDatabaseCollectionKey& destination) {
    insert(edge);
    if (!ok()) return;
    Query query(statements_->insertManual, context_.handle());
    query.bindText(4, source.collection).bindText(5, source.key);
    query.bindText(6, destination.collection).bindText(7, destination.key);
    run(query, edge);
}

void EdgeTables::remove(const StoredEdge& edge) {
    if (!ok()) return;
    Query query(statements_->remove, context_.handle());
    run(query, edge);
    forgetList(edge.source);
    leaveAbsent(edge.destination);
    if (!edge.isManual() || !ok()) return;
    Query manual(statements_->removeManual, context_.handle());
    run(manual, edge);
}

void EdgeTables::removeAll(const std::vector<StoredEdge>& outgoing) {
    if (outgoing.empty()) return;
    const bool arePlain = std::none_of(
        outgoing.begin(), outgoing.end(),
        [](const StoredEdge& edge) { return edge.isManual() || edge.destination < 0; });
    if (!arePlain) {
        for (const StoredEdge& edge : outgoing) remove(edge);
        return;
    }
    if (!ok()) return;
    forgetList(outgoing.front().source);
    Query query(statements_->removeOutgoing, context_.handle());
    if (!query.bind(1, outgoing.front().source).run()) failWith("written");
}

void EdgeTables::move(const StoredEdge& edge, std::int64_t source, std::int64_t destination) {
    if (!ok()) return;
    Query query(statements_->move, context_.handle());
    query.bind(4, source).bind(5, destination);
    run(query, edge);
    forgetList(edge.source);
    leaveAbsent(edge.destination);
    if (!edge.isManual() || !ok()) return;
    Query manual(statements_->moveManual, context_.handle());
    manual.bind(4, source).bind(5, destination);
    run(manual, edge);
}

void EdgeTables::moveEnd(std::int64_t from, std::int64_t to) {
    for (const StoredEdge& edge : outgoing(from))
        move(edge, to, edge.destination == from ? to : edge.destination);
    for (const StoredEdge& edge : incoming(from)) move(edge, edge.source, to);
}

void EdgeTables::removeUnusedAbsents() {
    for (const std::int64_t number : leftAbsents_) {
        if (!ok()) return;
        Query query(statements_->removeUnusedAbsent, context_.handle());
        if (!query.bind(1, number).run()) failWith("written");
    }
    leftAbsents_.clear();
}

}  // namespace qsml::detail
