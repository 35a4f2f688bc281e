#include "database/PLXDatabaseManager.h"

#include <exception>
#include <mutex>

#include "database/registerRecordClasses.h"
#include "foundation/Log.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"

namespace qsml {

PLXDatabaseManager& PLXDatabaseManager::sharedManager() {
    // Never destroyed: threads of the host may use it until the process ends.
    static auto* const manager = new PLXDatabaseManager;
    return *manager;
}

void PLXDatabaseManager::initialize() {
    static std::once_flag once;
    std::call_once(once, registerRecordClasses);
}

/// What the observation of commits holds of the manager: a way to it that ends with it, also while
/// a notification is on its way on another thread. Recursive, for a host that turns the
/// notification queue inside a callback.
struct PLXDatabaseManager::Announcer {
    std::recursive_mutex running;
    PLXDatabaseManager* manager;

    explicit Announcer(PLXDatabaseManager* itsManager) : manager(itsManager) {}
    void announce(const Notification& notification) {
        const std::lock_guard hold(running);
        if (manager) manager->yapDatabaseModified(notification);
    }
    void end() {
        const std::lock_guard wait(running);
        manager = nullptr;
    }
};

PLXDatabaseManager::PLXDatabaseManager()
    : announcer_(std::make_shared<Announcer>(this)),
      syncQueue_("org.qsmedialibrarydata.PLXDatabaseManager.sync") {
    initialize();
    undoManager_.setLevelsOfUndo(50);
}

PLXDatabaseManager::~PLXDatabaseManager() { announcer_->end(); }

namespace {

/// One provider's failure must not keep the library, or the other providers, from working.
void setupExtensionOf(PLXDatabaseExtensionProvider& provider, PLXDatabaseManager& manager) {
    constexpr std::string_view method =
        "-[PLXDatabaseManager setupDatabaseWithFileURL:extensionProviders:error:]";
    try {
        provider.setupDatabaseExtension(manager);
    } catch (const std::exception& exception) {
        log(method, __LINE__, std::string("An extension provider threw: ") + exception.what());
    } catch (...) {
        log(method, __LINE__, "An extension provider threw something unknown");
    }
}

}  // namespace

bool PLXDatabaseManager::setupDatabaseWithFileURL(const URL& fileURL, Error* error) {
    return setupDatabaseWithFileURL(fileURL, {}, error);
}

bool PLXDatabaseManager::setupDatabaseWithFileURL(const URL& fileURL,
                                                  const Providers& extensionProviders,
                                                  Error* error) {
    if (database_) {
        report(error, {std::string(YapDatabaseErrorDomain),
                       static_cast<std::int64_t>(YapDatabaseErrorCode::alreadyOpen),
                       "The library is set up already, with " + database_->databasePath()});
        return false;
    }
    if (!openDatabase(fileURL, error)) return false;
    setupExtensions();
    for (const auto& provider : extensionProviders) setupExtensionOf(*provider, *this);
    if (!openConnections(error)) {
        uiConnection_ = bgConnection_ = nullptr;
        cloudKitExtension_ = nullptr;
        database_ = nullptr;
        return false;
    }
    modifiedObservation_ = NotificationCenter::defaultCenter().addObserver(
        std::string(YapDatabaseModifiedNotification), database_.get(),
        [announcer = announcer_](const Notification& notification) {
            announcer->announce(notification);
        });
    return true;
}

bool PLXDatabaseManager::openDatabase(const URL& fileURL, Error* error) {
    if (!fileURL.isFileURL()) {
        report(error, {std::string(YapDatabaseErrorDomain),
                       static_cast<std::int64_t>(YapDatabaseErrorCode::notARegularFile),
                       "The library must lie at a file URL, and this is none: " +
                           fileURL.absoluteString().str()});
        return false;
    }
    const YapDatabaseObjectCallbacks callbacks{databaseSerializer(), databaseDeserializer(),
                                               databasePreSanitizer(), databasePostSanitizer()};
    options_.corruptAction = YapDatabaseCorruptAction::fail;
    database_ = YapDatabase::initWithPath(fileURL.path(), callbacks, callbacks, options_, error);
    if (!database_) return false;
    database_->setDefaultObjectPolicy(YapDatabasePolicy::share);
    database_->setDefaultMetadataPolicy(YapDatabasePolicy::share);
    return true;
}

void PLXDatabaseManager::setupExtensions() {
    setupRelationshipExtension();
    setupMediaItemUserDataSearchIndexExtension();
    setupMediaItemAnalyzedDataSecondaryIndexExtension();
    setupMediaViewExtension();
    setupMediaItemsViewExtension();
    setupMediaItemOriginalSourceViewExtension();
    setupMediaItemPlaylistsViewExtension();
    setupMediaItemPlaylistViewExtension();
    setupMediaItemPlaylistSecondaryIndexExtension();
    setupHistorySessionViewExtension();
    setupQueueViewExtension();
    setupSearchIndexExtension();
    setupSearchResultsViewExtension();
    setupMediaItemKeySignatureIndexViewExtension();
    setupContentPacksViewExtension();
    setupInstalledContentPacksViewExtension();
    setupContentPackMediaItemsView();
    setupUserContentPacksViewExtension();
    setupUserContentPackMediaItemsView();
    setupAllAvailableContentPacksViewExtension();
    setupAllInstalledContentPacksViewExtension();
    setupContentPackSecondaryIndexExtension();
    setupUserContentPackSecondaryIndexExtension();
}

bool PLXDatabaseManager::openConnections(Error* error) {
    uiConnection_ = database_->newConnection(error);
    bgConnection_ = uiConnection_ ? database_->newConnection(error) : nullptr;
    if (!bgConnection_) return false;
    for (const auto& connection : {uiConnection_, bgConnection_}) {
        connection->setObjectCacheLimit(0);
        connection->setMetadataCacheEnabled(false);
    }
    uiConnection_->setName("user interface");
    bgConnection_->setName("background");
    uiConnection_->enableExceptionsForImplicitlyEndingLongLivedReadTransaction();
    uiConnection_->beginLongLivedReadTransaction();
    if (uiConnection_->isInLongLivedReadTransaction()) return true;
    constexpr std::int64_t inputOutputError = 10;  // SQLite's; the log says what it was
    report(error, {std::string(YapDatabaseErrorDomain), inputOutputError,
                   "The library was opened but cannot be read: " + database_->databasePath()});
    return false;
}

}  // namespace qsml
