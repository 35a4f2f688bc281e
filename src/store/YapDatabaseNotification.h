#pragma once
#include <any>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "foundation/String.h"

namespace qsml {

/// Posted once per commit, in snapshot order, asynchronously on the notification queue, with the
/// database as sender. The user info holds the commit under YapDatabaseCommitKey
/// (std::shared_ptr<const YapDatabaseCommit>).
inline constexpr std::string_view YapDatabaseModifiedNotification =
    "YapDatabaseModifiedNotification";
/// Posted there when the file was closed (the database and all its connections are gone).
inline constexpr std::string_view YapDatabaseClosedNotification = "YapDatabaseClosedNotification";
inline constexpr std::string_view YapDatabaseCommitKey = "commit";
inline constexpr std::string_view YapDatabaseSnapshotKey = "snapshot";      ///< std::uint64_t
inline constexpr std::string_view YapDatabaseConnectionKey = "connection";  ///< const void*
inline constexpr std::string_view YapDatabaseExtensionsKey =
    "extensions";                                                   ///< see YapDatabaseCommit
inline constexpr std::string_view YapDatabaseCustomKey = "custom";  ///< std::any

struct YapDatabaseCollectionKey {
    String collection;
    String key;
    friend bool operator==(const YapDatabaseCollectionKey&,
                           const YapDatabaseCollectionKey&) = default;
};

/// What one row went through in one commit.
struct YapDatabaseRowChange {
    YapDatabaseCollectionKey row;
    bool object = false;    ///< written or touched
    bool metadata = false;  ///< written or touched
    bool removed = false;
};

/// What an extension has to say of a commit; each kind of extension has its own.
class QSML_EXPORT YapDatabaseExtensionChanges {
public:
    virtual ~YapDatabaseExtensionChanges() = default;
};

/// One commit: the immutable record of what it changed. Thread-safe.
struct QSML_EXPORT YapDatabaseCommit {
    std::uint64_t snapshot = 0;
    /// Identity of the connection that wrote; null for a commit of another process.
    const void* connection = nullptr;
    /// Every row that was inserted, updated, touched or removed, each once.
    std::vector<YapDatabaseRowChange> changes;
    /// True for commits of another process: any row may have changed, `changes` is empty, and one
    /// such entry may stand for several commits. Questions about changes answer true.
    bool isForeign = false;
    std::map<std::string, std::shared_ptr<const YapDatabaseExtensionChanges>, std::less<>>
        extensions;
    std::any custom;
};

/// The commits that a connection moved over, oldest first.
using YapDatabaseNotifications = std::vector<std::shared_ptr<const YapDatabaseCommit>>;

}  // namespace qsml
