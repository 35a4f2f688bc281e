#include "organisation/PLXHistorySessionSource.h"

#include "database/PLXDatabaseManager.h"
#include "foundation/Environment.h"
#include "foundation/Host.h"
#include "organisation/PLXHistorySession.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "tracks/detail/backgroundTransactions.h"

namespace qsml {
namespace {

std::shared_ptr<const PLXHistorySession> storedSession(const String& uuid,
                                                       YapDatabaseReadTransaction& transaction) {
    if (!uuid) return nullptr;
    return transaction.object<PLXHistorySession>(uuid, PLXDatabaseCollectionHistorySessions);
}

enum class Ending : std::uint8_t { ended, nothingToEnd, failed };

/// Works on the session as the transaction finds it, so that entries which others added are kept.
Ending endSession(const String& uuid, YapDatabaseReadWriteTransaction& transaction) {
    const auto stored = storedSession(uuid, transaction);
    if (!stored) return transaction.error() ? Ending::failed : Ending::nothingToEnd;
    const auto session = stored->copy();
    session->setEndDate(Clock::shared().now());
    return transaction.setObject(session, uuid, PLXDatabaseCollectionHistorySessions)
               ? Ending::ended
               : Ending::failed;
}

}  // namespace

PLXHistorySessionSource& PLXHistorySessionSource::sharedInstance() {
    // Never destroyed: threads of the host may use it until the process ends.
    static auto* const source = new PLXHistorySessionSource(PLXDatabaseManager::sharedManager());
    return *source;
}

std::shared_ptr<const PLXHistorySession> PLXHistorySessionSource::currentHistorySession() const {
    if (!currentHistorySessionUUID_) return nullptr;
    std::shared_ptr<const PLXHistorySession> session;
    detail::read(manager_, [&](YapDatabaseReadTransaction& transaction) {
        session = storedSession(currentHistorySessionUUID_, transaction);
    });
    return session;
}

String PLXHistorySessionSource::deviceName() const { return Host::localizedName(); }

bool PLXHistorySessionSource::createHistorySession() {
    std::shared_ptr<PLXHistorySession> session;
    const auto endAndCreate = [&](YapDatabaseReadWriteTransaction& transaction) {
        session = PLXHistorySession::init();
        session->setDeviceName(deviceName());
        session->setDeviceType(deviceType());
        if (endSession(currentHistorySessionUUID_, transaction) == Ending::failed) return false;
        session->setStartDate(Clock::shared().now());
        return transaction.setObject(session, session->uuid(),
                                     PLXDatabaseCollectionHistorySessions);
    };
    if (!detail::readWrite(manager_, endAndCreate)) return false;
    currentHistorySessionUUID_ = session->uuid();
    return true;
}

bool PLXHistorySessionSource::endCurrentSession() {
    if (!currentHistorySessionUUID_) return true;
    auto ending = Ending::failed;
    const auto end = [&](YapDatabaseReadWriteTransaction& transaction) {
        ending = endSession(currentHistorySessionUUID_, transaction);
        return ending != Ending::failed;
    };
    if (!detail::readWrite(manager_, end)) return false;
    if (ending == Ending::ended) currentHistorySessionUUID_ = nullptr;
    return true;
}

}  // namespace qsml
