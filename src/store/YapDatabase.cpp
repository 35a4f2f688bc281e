#include "store/YapDatabase.h"

#include <new>

#include "foundation/Log.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseExtension.h"
#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"

namespace qsml {

YapDatabase::YapDatabase(std::shared_ptr<detail::DatabaseCore> core) : core_(std::move(core)) {}

YapDatabase::~YapDatabase() {
    if (core_->isForkedChild())
        new std::shared_ptr<detail::DatabaseCore>(
            std::move(core_));  // it is the parent's: leave it
    else
        core_->close();
}

std::shared_ptr<YapDatabase> YapDatabase::initWithPath(const std::string& path,
                                                       YapDatabaseObjectCallbacks objects,
                                                       YapDatabaseObjectCallbacks metadata,
                                                       YapDatabaseOptions options, Error* error) {
    try {
        auto core = detail::DatabaseCore::open(path, std::move(objects), std::move(metadata),
                                               std::move(options), error);
        if (!core) return nullptr;
        std::shared_ptr<YapDatabase> made(new YapDatabase(core));
        core->setOwner(made);
        return made;
    } catch (const std::bad_alloc&) {
        detail::reportNoMemory(error, path);
        return nullptr;
    }
}

const std::string& YapDatabase::databasePath() const { return core_->path(); }

std::uint64_t YapDatabase::snapshot() const { return core_->history().newestSnapshot(); }

YapDatabasePolicy YapDatabase::defaultObjectPolicy() const { return core_->defaultObjectPolicy; }

void YapDatabase::setDefaultObjectPolicy(YapDatabasePolicy policy) {
    core_->defaultObjectPolicy = policy;
}

YapDatabasePolicy YapDatabase::defaultMetadataPolicy() const {
    return core_->defaultMetadataPolicy;
}

void YapDatabase::setDefaultMetadataPolicy(YapDatabasePolicy policy) {
    core_->defaultMetadataPolicy = policy;
}

std::shared_ptr<YapDatabaseConnection> YapDatabase::newConnection(Error* error) {
    core_->refuseInForkedChild();
    try {
        auto core = core_->newConnection(error);
        if (!core) return nullptr;
        return std::shared_ptr<YapDatabaseConnection>(
            new YapDatabaseConnection(shared_from_this(), std::move(core)));
    } catch (const std::bad_alloc&) {
        detail::reportNoMemory(error, core_->path());
        return nullptr;
    }
}

bool YapDatabase::registerExtension(std::shared_ptr<YapDatabaseExtension> extension,
                                    const std::string& name, Error* error) {
    core_->refuseInForkedChild();
    bool isDone = false;
    core_->scheduler().runSync(nullptr, &core_->writers(), [&] {
        isDone = core_->registerExtension(shared_from_this(), extension, name, error);
    });
    return isDone;
}

void YapDatabase::asyncRegisterExtension(std::shared_ptr<YapDatabaseExtension> extension,
                                         const std::string& name,
                                         std::function<void(bool ready)> completion,
                                         DispatchQueue* completionQueue) {
    core_->refuseInForkedChild();
    auto post = completionQueue ? completionQueue->poster() : core_->notify();
    core_->scheduler().runAsync(nullptr, &core_->writers(),
                                [self = shared_from_this(), extension = std::move(extension), name,
                                 completion = std::move(completion), post = std::move(post)] {
                                    Error error;
                                    const bool isDone = self->core_->registerExtension(
                                        self, extension, name, &error);
                                    if (!isDone) log("Warning: " + error.description);
                                    if (completion)
                                        post([completion, isDone] { completion(isDone); });
                                });
}

bool YapDatabase::unregisterExtension(const std::string& name, Error* error) {
    core_->refuseInForkedChild();
    bool isDone = false;
    core_->scheduler().runSync(nullptr, &core_->writers(), [&] {
        isDone = core_->unregisterExtension(shared_from_this(), name, error);
    });
    return isDone;
}

std::shared_ptr<YapDatabaseExtension> YapDatabase::registeredExtension(
    std::string_view name) const {
    const auto state = core_->history().newestState();
    const std::size_t index = state->indexOf(name);
    return index == detail::SnapshotState::npos ? nullptr : state->extensions[index]->extension;
}

std::vector<std::string> YapDatabase::registeredExtensionNames() const {
    const auto state = core_->history().newestState();
    std::vector<std::string> names;
    for (const auto& registered : state->extensions) names.push_back(registered->name);
    return names;
}

std::uint64_t YapDatabase::walSize() const { return core_->walSize(); }

bool YapDatabase::checkpoint(Error* error) {
    core_->refuseInForkedChild();
    return core_->checkpoint(error);
}

void YapDatabase::flushMemory() { core_->flushMemory(); }

}  // namespace qsml
