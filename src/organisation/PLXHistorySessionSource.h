#pragma once
#include <memory>

#include "foundation/String.h"

namespace qsml {

class PLXDatabaseManager;
class PLXHistorySession;

/// The session that is being recorded, if any: opened when a performance starts, ended when it
/// stops. Which one it is lives in memory only: a new process starts without, and a session that
/// was not ended stays open for ever.
///
/// Confined to one thread at a time. Operations run synchronous transactions on the manager's
/// background connection, so not from inside a transaction. Before the manager is set up they find
/// and store nothing.
class QSML_EXPORT PLXHistorySessionSource {
public:
    /// The source of the shared manager, made on first use.
    static PLXHistorySessionSource& sharedInstance();
    /// The manager must outlive the source.
    explicit PLXHistorySessionSource(PLXDatabaseManager& manager) : manager_(manager) {}

    /// Nil when no session is open.
    const String& currentHistorySessionUUID() const { return currentHistorySessionUUID_; }
    void setCurrentHistorySessionUUID(String uuid) { currentHistorySessionUUID_ = std::move(uuid); }
    /// The open session as it is stored now; null when there is none or it has been deleted.
    std::shared_ptr<const PLXHistorySession> currentHistorySession() const;

    /// The name of this device as people know it.
    String deviceName() const;
    /// Always 0.
    std::int64_t deviceType() const { return 0; }

    /// Ends the open session, if any, and opens a new one, in one commit. False when the library
    /// could not be written: then nothing has changed, the current UUID included.
    [[nodiscard]] bool createHistorySession();
    /// Gives the open session its end date. Without one, or when it has been deleted, nothing
    /// happens, the current UUID keeps its value, and that is true. False as above.
    [[nodiscard]] bool endCurrentSession();

private:
    PLXDatabaseManager& manager_;
    String currentHistorySessionUUID_;
};

}  // namespace qsml
