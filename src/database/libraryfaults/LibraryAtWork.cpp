#include "database/libraryfaults/LibraryAtWork.h"

#include <functional>

#include "store/search/YapDatabaseFullTextSearchTransaction.h"

namespace qsml {
namespace {

std::size_t digestOf(std::string_view collection, std::string_view key, const Value& object) {
    if (object.isNil()) return 0;
    Error error;
    const auto bytes = PLXDatabaseManager::databaseSerializer()(collection, key, object, &error);
    return std::hash<std::string_view>()(
        {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

void lookAtExtensions(YapDatabaseReadTransaction& transaction, const YapDatabase& database,
                      LibrarySight& sight) {
    for (const std::string& name : database.registeredExtensionNames()) {
        if (name.rfind("viewdatasource-", 0) == 0) continue;  // of a list, with a random name
        if (transaction.ext<YapDatabaseViewTransaction>(name))
            sight.views[name] = groupsShown(transaction, name);
        auto* const search = transaction.ext<YapDatabaseFullTextSearchTransaction>(name);
        if (!search) continue;
        for (const char* query : {"title*", "artist* OR playlist*", "renamed* OR new*"})
            sight.isWhole &= search->enumerateKeysMatching(
                query, [&, name = name + " " + query](auto, std::string_view key, bool&) {
                    sight.found[name] += std::string(key) + " ";
                });
    }
}

template <class Map>
void compare(const Map& mine, const Map& other, const char* word, std::string& difference) {
    for (const auto& [key, value] : mine) {
        const auto found = other.find(key);
        if (found == other.end() || found->second != value)
            difference += std::string(found == other.end() ? "lacks " : "differs in ") + word +
                          " " + key + "\n";
    }
    for (const auto& [key, value] : other)
        if (mine.count(key) == 0) difference += std::string("has ") + word + " " + key + "\n";
}

}  // namespace

std::string LibrarySight::differenceFrom(const LibrarySight& other) const {
    std::string difference;
    compare(other.rows, rows, "row", difference);
    compare(other.views, views, "view", difference);
    compare(other.found, found, "search", difference);
    if (!isWhole) difference += "could not be read\n";
    if (!other.isWhole) difference += "can be read\n";
    return difference.substr(0, 1000);
}

LibraryAtWork::LibraryAtWork(std::string path) : path_(std::move(path)) {
    options.executor = executor_;
    options.notificationQueue = &announcements_;
    announcements_.suspend();
}

LibraryAtWork::~LibraryAtWork() {
    close();
    options.executor.reset();
}

bool LibraryAtWork::open(Error* error) {
    close();
    auto manager = std::make_unique<PLXDatabaseManager>();
    manager->setDatabaseOptions(options);
    if (!manager->setupDatabaseWithFileURL(URL::fileURLWithPath(path_), error)) return false;
    manager_ = std::move(manager);
    return true;
}

void LibraryAtWork::close() {
    manager_.reset();
    settle();
}

void LibraryAtWork::settle() {
    for (int turn = 0; turn < 3; ++turn) {
        executor_->waitUntilIdle();
        announcements_.resume();
        announcements_.sync([] {});
        announcements_.suspend();
    }
    executor_->waitUntilIdle();
}

bool LibraryAtWork::write(const YapDatabaseConnection::ReadWriteBlock& block, Error* error) {
    return background().readWrite(block, error);
}

LibrarySight LibraryAtWork::sight(YapDatabaseConnection& connection) {
    LibrarySight sight;
    const bool isRead = connection.read([&](YapDatabaseReadTransaction& transaction) {
        sight.isWhole = true;
        transaction.enumerateKeysInAllCollections([&](auto collection, auto key, bool&) {
            sight.rows[std::string(collection) + "/" + std::string(key)] =
                digestOf(collection, key, transaction.objectForKey(key, collection));
        });
        lookAtExtensions(transaction, database(), sight);
        sight.isWhole &= !transaction.error();
    });
    sight.isWhole &= isRead;
    return sight;
}

LibrarySight LibraryAtWork::sight() {
    const auto connection = database().newConnection();
    return connection ? sight(*connection) : LibrarySight();
}

std::string LibraryAtWork::faults() {
    std::string lines;
    Error error;
    const bool isSound = database().check(
        [&](const YapDatabase::Fault& fault) {
            lines += fault.extension + ": " + fault.collection + "/" + fault.key + " " +
                     fault.description + "\n";
        },
        {}, &error);
    if (!isSound && lines.empty()) lines = "check failed: " + error.description;
    return lines;
}

}  // namespace qsml
