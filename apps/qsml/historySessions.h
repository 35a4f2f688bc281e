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

/// The newest session of this device that was not ended; null when there is none. A process of its
/// own runs each command, so what is open is found and not remembered.
std::shared_ptr<const PLXHistorySession> openSession(const YapDatabaseReadTransaction& transaction);

/// The session with that UUID or start of one, or for an empty text the newest. Throws
/// CommandFailure when there is none or there are several.
std::shared_ptr<const PLXHistorySession> findSession(const std::string& which,
                                                     const YapDatabaseReadTransaction& transaction);

/// The session's entries in play order; UUIDs that name none are left out.
std::vector<std::shared_ptr<const PLXHistorySessionItem>> entriesOf(
    const PLXHistorySession& session, const YapDatabaseReadTransaction& transaction);

}  // namespace qsml::app
