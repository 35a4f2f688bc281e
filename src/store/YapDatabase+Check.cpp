// Verifying a file.
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseExtension.h"
#include "store/YapDatabaseTransaction.h"
#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/ExtensionContext.h"

namespace qsml {

namespace {

using FaultBlock = std::function<void(const YapDatabase::Fault&)>;
using ProgressBlock = std::function<void(std::uint64_t done, std::uint64_t total)>;

bool checkFile(detail::ConnectionCore& core, const FaultBlock& fault) {
    detail::Statement statement("PRAGMA integrity_check");
    detail::Query query(statement, core.handle().get());
    while (query.row())
        if (query.text(0) != "ok") fault({.description = std::string(query.text(0))});
    if (!query.ok()) fault({.description = core.handle().lastError("read").description});
    return query.ok();
}

bool checkRows(detail::ConnectionCore& core, const FaultBlock& fault,
               const ProgressBlock& progress) {
    constexpr std::uint64_t step = 1000;  // rows between two calls
    const std::uint64_t total = core.numberOfKeys();
    std::uint64_t done = 0;
    const bool isRead = core.inspectRows(INT64_MIN, INT64_MAX, [&](const auto& row) {
        if (!row.fault.empty())
            fault({.collection = row.collection, .key = row.key, .description = row.fault});
        if (progress && ++done % step == 0) progress(done, total);
        return true;
    });
    if (progress) progress(done, total);
    return isRead;
}

bool checkExtensions(detail::ConnectionCore& core, const FaultBlock& fault, Error* error) {
    bool isRead = true;
    for (const auto& registered : core.state()->extensions) {
        detail::ExtensionContext context(core, registered);
        const auto report = [&](std::string_view collection, std::string_view key,
                                std::string_view description) {
            fault({.collection = std::string(collection),
                   .key = std::string(key),
                   .extension = registered->name,
                   .description = std::string(description)});
        };
        isRead = registered->extension->check(context, report, error) && isRead;
    }
    return isRead;
}

}  // namespace

bool YapDatabase::check(const std::function<void(const Fault&)>& fault,
                        const ProgressBlock& progress, Error* error) {
    const auto connection = newConnection(error);
    if (!connection) return false;
    connection->setObjectCacheEnabled(false);
    connection->setMetadataCacheEnabled(false);
    bool isSound = true;
    const auto found = [&](const Fault& one) {
        isSound = false;
        if (fault) fault(one);
    };
    // Extensions that could not be registered say nothing by themselves.
    for (const auto& failure : core_->failedRegistrations().all())
        if (failure.isFaultOfTheFile)
            found({.extension = failure.one->name, .description = failure.why});
    bool isRead = true;
    const bool hasRun = connection->read(
        [&](YapDatabaseReadTransaction& transaction) {
            detail::ConnectionCore& core = *connection->core_;
            isRead = checkFile(core, found) && checkRows(core, found, progress) &&
                     checkExtensions(core, found, error);
            if (transaction.error() && error && !*error) *error = transaction.error();
        },
        error);
    return hasRun && isRead && isSound;
}

}  // namespace qsml
