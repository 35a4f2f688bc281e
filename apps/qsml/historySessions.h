#pragma once
#include <memory>
#include <string>
#include <vector>

#include <QSMediaLibraryData/foundation/String.h>

namespace qsml {
class PLXHistorySession;
class PLXHistorySessionItem;
class YapDatabaseReadTransaction;
}  // namespace qsml

namespace qsml::app {

using Sessions = std::vector<std::shared_ptr<const PLXHistorySession>>;

/// All that can be decoded, newest first; those without a start date last.
Sessions sessionsOf(const YapDatabaseReadTransaction& transaction);

/// The sessions of this device that were not ended, newest first. A process of its own runs each
/// command, so what is open is found and not remembered. A device is known by its name: two of one
/// name that share a library take each other's sessions for their own.
Sessions openSessions(const YapDatabaseReadTransaction& transaction);

/// The session with that UUID or start of one, or for an empty text the newest. Throws
/// CommandFailure when there is none or there are several.
std::shared_ptr<const PLXHistorySession> findSession(const std::string& which,
                                                     const YapDatabaseReadTransaction& transaction);

/// The session's entries in play order; UUIDs that name none are left out.
std::vector<std::shared_ptr<const PLXHistorySessionItem>> entriesOf(
    const PLXHistorySession& session, const YapDatabaseReadTransaction& transaction);

}  // namespace qsml::app
