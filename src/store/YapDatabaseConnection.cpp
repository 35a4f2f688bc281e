#include "store/YapDatabaseConnection.h"

#include <exception>
#include <new>

#include "foundation/Log.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseException.h"
#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"

namespace qsml {

namespace {

/// Refuses what the caller must not do before anything waits.
void refuseImplicitEnd(const detail::ConnectionCore& core, bool isEnabled) {
    if (isEnabled && core.isPinned())
        throw YapDatabaseException(
            "A read-write transaction would end the connection's long-lived read transaction "
            "implicitly. Write through another connection.");
}

/// The error of an exception that left an asynchronous block, which is logged too.
Error errorOfException(const std::string& path) {
    std::string what = "an unknown exception";
    try {
        throw;
    } catch (const std::exception& exception) {
        what = exception.what();
    } catch (...) {
    }
    log("Warning: an exception left a transaction: " + what);
    return detail::fileError(YapDatabaseErrorCode::extension, path, "written", what);
}

}  // namespace

YapDatabaseConnection::YapDatabaseConnection(std::shared_ptr<YapDatabase> database,
                                             std::unique_ptr<detail::ConnectionCore> core)
    : database_(std::move(database)), core_(std::move(core)) {}

YapDatabaseConnection::~YapDatabaseConnection() {
    if (!core_) return;
    if (core_->database().isForkedChild()) {
        (void)core_.release();  // it is the parent's: leave it
        return;
    }
    try {
        // In its turn, because a checkpoint may be moving the connection's read transaction.
        core_->database().scheduler().runSync(&core_->lane(), nullptr, [this] { core_->retire(); });
    } catch (const std::bad_alloc&) {
        (void)core_
            .release();  // not even a turn to be had: better lost than closed in somebody's hands
    }
}

const std::shared_ptr<YapDatabase>& YapDatabaseConnection::database() const { return database_; }

void YapDatabaseConnection::setName(std::string name) { core_->setName(std::move(name)); }

std::uint64_t YapDatabaseConnection::snapshot() const { return core_->snapshot(); }

bool YapDatabaseConnection::read(const ReadBlock& block, Error* error) {
    core_->database().refuseInForkedChild();
    const auto self = shared_from_this();
    bool isDone = false;
    core_->database().scheduler().runSync(&core_->lane(), nullptr,
                                          [&] { isDone = core_->read(self, block, error); });
    return isDone;
}

bool YapDatabaseConnection::readWrite(const ReadWriteBlock& block, Error* error) {
    auto& database = core_->database();
    database.refuseInForkedChild();
    refuseImplicitEnd(*core_, core_->settings().throwsForImplicitEnd);
    const auto self = shared_from_this();
    bool isDone = false;
    database.scheduler().runSync(&core_->lane(), &database.writers(),
                                 [&] { isDone = core_->readWrite(self, block, error); });
    return isDone;
}

void YapDatabaseConnection::asyncRead(ReadBlock block, std::function<void()> completion,
                                      DispatchQueue* completionQueue) {
    auto& database = core_->database();
    database.refuseInForkedChild();
    auto post = completionQueue ? completionQueue->poster() : database.notify();
    database.scheduler().runAsync(
        &core_->lane(), nullptr,
        [self = shared_from_this(), block = std::move(block), completion = std::move(completion),
         post = std::move(post)] {
            Error error;
            try {
                if (!self->core_->read(self, block, &error))
                    log("Warning: an asynchronous read did not run: " + error.description);
            } catch (...) {
                error = errorOfException(self->core_->handle().path());
            }
            if (completion) post(completion);
        });
}

void YapDatabaseConnection::asyncReadWrite(ReadWriteBlock block, Completion completion,
                                           DispatchQueue* completionQueue) {
    auto& database = core_->database();
    database.refuseInForkedChild();
    refuseImplicitEnd(*core_, core_->settings().throwsForImplicitEnd);
    auto post = completionQueue ? completionQueue->poster() : database.notify();
    database.scheduler().runAsync(&core_->lane(), &database.writers(),
                                  [self = shared_from_this(), block = std::move(block),
                                   completion = std::move(completion), post = std::move(post)] {
                                      Error error;
                                      try {
                                          if (self->core_->readWrite(self, block, &error))
                                              error = {};
                                          else if (!error)
                                              detail::reportNoMemory(&error,
                                                                     self->core_->handle().path());
                                      } catch (...) {
                                          error = errorOfException(self->core_->handle().path());
                                      }
                                      if (completion)
                                          post([completion, error] { completion(error); });
                                  });
}

void YapDatabaseConnection::flushTransactions(std::function<void()> completion,
                                              DispatchQueue* completionQueue) {
    auto& database = core_->database();
    database.refuseInForkedChild();
    auto post = completionQueue ? completionQueue->poster() : database.notify();
    database.scheduler().runAsync(
        &core_->lane(), nullptr,
        [self = shared_from_this(), completion = std::move(completion), post = std::move(post)] {
            if (completion) post(completion);
        });
}

YapDatabaseNotifications YapDatabaseConnection::beginLongLivedReadTransaction() {
    auto& database = core_->database();
    database.refuseInForkedChild();
    const auto self = shared_from_this();
    YapDatabaseNotifications passed;
    database.scheduler().runSync(&core_->lane(), nullptr,
                                 [&] { passed = core_->beginLongLivedRead(self); });
    database.noteReaderMoved();
    return passed;
}

YapDatabaseNotifications YapDatabaseConnection::endLongLivedReadTransaction() {
    auto& database = core_->database();
    database.refuseInForkedChild();
    const auto self = shared_from_this();
    YapDatabaseNotifications passed;
    database.scheduler().runSync(&core_->lane(), nullptr,
                                 [&] { passed = core_->endLongLivedRead(self); });
    database.noteReaderMoved();
    return passed;
}

bool YapDatabaseConnection::isInLongLivedReadTransaction() const { return core_->isPinned(); }

void YapDatabaseConnection::setExceptionsForImplicitlyEndingLongLivedReadTransaction(bool enabled) {
    core_->settings().throwsForImplicitEnd = enabled;
}

// The caches' settings take effect at the next transaction.

bool YapDatabaseConnection::objectCacheEnabled() const {
    return core_->settings().objectCacheEnabled;
}

void YapDatabaseConnection::setObjectCacheEnabled(bool enabled) {
    core_->settings().objectCacheEnabled = enabled;
}

std::size_t YapDatabaseConnection::objectCacheLimit() const {
    return core_->settings().objectCacheLimit;
}

void YapDatabaseConnection::setObjectCacheLimit(std::size_t limit) {
    core_->settings().objectCacheLimit = limit;
}

bool YapDatabaseConnection::metadataCacheEnabled() const {
    return core_->settings().metadataCacheEnabled;
}

void YapDatabaseConnection::setMetadataCacheEnabled(bool enabled) {
    core_->settings().metadataCacheEnabled = enabled;
}

std::size_t YapDatabaseConnection::metadataCacheLimit() const {
    return core_->settings().metadataCacheLimit;
}

void YapDatabaseConnection::setMetadataCacheLimit(std::size_t limit) {
    core_->settings().metadataCacheLimit = limit;
}

YapDatabasePolicy YapDatabaseConnection::objectPolicy() const {
    return core_->settings().objectPolicy;
}

void YapDatabaseConnection::setObjectPolicy(YapDatabasePolicy policy) {
    core_->settings().objectPolicy = policy;
}

YapDatabasePolicy YapDatabaseConnection::metadataPolicy() const {
    return core_->settings().metadataPolicy;
}

void YapDatabaseConnection::setMetadataPolicy(YapDatabasePolicy policy) {
    core_->settings().metadataPolicy = policy;
}

void YapDatabaseConnection::flushMemory() {
    auto& scheduler = core_->database().scheduler();
    core_->settings().mustFlushMemory = true;
    if (const auto turn = scheduler.tryTake(core_->lane())) {  // else when its next turn begins
        core_->applySettings();
        scheduler.giveBack(turn);
    }
}

}  // namespace qsml
