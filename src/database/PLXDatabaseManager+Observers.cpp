#include <algorithm>
#include <exception>

#include "database/PLXDatabaseManager.h"
#include "foundation/Log.h"
#include "store/YapDatabaseConnection.h"

namespace qsml {

void PLXDatabaseManager::post(std::string_view name, Notification::UserInfo userInfo) {
    NotificationCenter::defaultCenter().post({std::string(name), this, std::move(userInfo)});
}

void PLXDatabaseManager::yapDatabaseModified(const Notification&) {
    post(PLXUIDatabaseConnectionWillUpdateNotification);
    if (!uiConnection_) {  // not set up: there is no list of changes
        post(PLXUIDatabaseConnectionDidUpdateNotification);
        return;
    }
    const YapDatabaseNotifications notifications = uiConnection_->beginLongLivedReadTransaction();
    post(
        PLXUIDatabaseConnectionDidUpdateNotification,
        {{std::string(PLXUIDatabaseConnectionNotificationsKey), notifications},
         {std::string(PLXUIDatabaseConnectionKey), static_cast<const void*>(uiConnection_.get())}});

    YapDatabaseConnection::enumerateChangedCollectionKeys(
        notifications, [this](std::string_view collection, std::string_view key, bool&) {
            tellChangeObservers(collection, key);
        });
    for (const auto& commit : notifications) {
        if (!commit->isForeign) continue;
        tellAllChangeObservers();
        break;
    }
}

namespace {

/// One observer's failure must not keep the news from the others.
void call(const PLXDatabaseManager::ChangeBlock& block, std::string_view collection,
          std::string_view key) {
    constexpr std::string_view method = "-[PLXDatabaseManager yapDatabaseModified:]";
    try {
        block(collection, key);
    } catch (const std::exception& exception) {
        log(method, __LINE__, std::string("A change observer threw: ") + exception.what());
    } catch (...) {
        log(method, __LINE__, "A change observer threw something unknown");
    }
}

}  // namespace

void PLXDatabaseManager::tellChangeObservers(std::string_view collection, std::string_view key) {
    for (const auto& observer : changeObserversOf(collection, key))
        call(observer->block, collection, key);
}

void PLXDatabaseManager::tellAllChangeObservers() {
    std::vector<std::shared_ptr<const ChangeObserver>> all;
    syncQueue_.sync([&] {
        for (const auto& [token, observer] : changeObservers_) all.push_back(observer);
    });
    std::stable_partition(all.begin(), all.end(),
                          [](const auto& observer) { return observer->key.has_value(); });
    for (const auto& observer : all)
        call(observer->block, observer->collection,
             observer->key ? std::string_view(*observer->key) : std::string_view());
}

std::vector<std::shared_ptr<const PLXDatabaseManager::ChangeObserver>>
PLXDatabaseManager::changeObserversOf(std::string_view collection, std::string_view key) {
    std::vector<std::shared_ptr<const ChangeObserver>> found;
    const auto collect = [&](const Tokens& tokens) {
        for (const Token token : tokens)
            if (auto observer = changeObservers_.find(token); observer != changeObservers_.end())
                found.push_back(observer->second);
    };
    syncQueue_.sync([&] {
        if (auto keys = objectChangeObservers_.find(collection);
            keys != objectChangeObservers_.end())
            if (auto tokens = keys->second.find(key); tokens != keys->second.end())
                collect(tokens->second);
        if (auto tokens = collectionChangeObservers_.find(collection);
            tokens != collectionChangeObservers_.end())
            collect(tokens->second);
    });
    return found;
}

std::optional<PLXDatabaseManager::Token> PLXDatabaseManager::addChangeObserverForCollection(
    std::string_view collection, std::string_view key, ChangeBlock block) {
    if (!collection.data() || !block) return std::nullopt;
    auto observer = std::make_shared<ChangeObserver>();
    observer->collection = collection;
    if (key.data()) observer->key = std::string(key);
    observer->block = std::move(block);

    Token token = 0;
    syncQueue_.sync([&] {
        token = ++changeObserverTokenCounter_;
        Tokens& tokens = observer->key
                             ? objectChangeObservers_[observer->collection][*observer->key]
                             : collectionChangeObservers_[observer->collection];
        tokens.insert(token);
        changeObservers_.emplace(token, observer);
    });
    return token;
}

void PLXDatabaseManager::removeChangeObserver(std::optional<Token> token) {
    std::shared_ptr<const ChangeObserver> removed;  // goes away off the queue
    syncQueue_.sync([&] {
        const auto found = token ? changeObservers_.find(*token) : changeObservers_.end();
        if (found == changeObservers_.end()) return;
        removed = std::move(found->second);
        changeObservers_.erase(found);
        // Emptied sets are kept: the next observer of the same row finds its place made.
        if (removed->key)
            objectChangeObservers_[removed->collection][*removed->key].erase(*token);
        else
            collectionChangeObservers_[removed->collection].erase(*token);
    });
}

}  // namespace qsml
