#pragma once
#include <map>
#include <memory>
#include <string>

#include "database/PLXDatabaseManager.h"
#include "database/extensions/testing/viewGroups.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "testing/OpenStore.h"

namespace qsml {

/// All that a connection sees of a library.
struct LibrarySight {
    std::map<std::string, std::size_t> rows;   ///< by "collection/key", a digest of the archive
    std::map<std::string, ViewGroups> views;   ///< by name
    std::map<std::string, std::string> found;  ///< by search, the keys that it finds
    bool isWhole = false;                      ///< false where something could not be read

    friend bool operator==(const LibrarySight&, const LibrarySight&) = default;
    /// What the other has or lacks, in words.
    std::string differenceFrom(const LibrarySight& other) const;
};

/// A library with every extension, its background work and its announcements on threads of its own,
/// which a test waits for. Confined to one thread.
class LibraryAtWork {
public:
    explicit LibraryAtWork(std::string path);
    ~LibraryAtWork();
    LibraryAtWork(const LibraryAtWork&) = delete;
    LibraryAtWork& operator=(const LibraryAtWork&) = delete;

    /// What open() uses; tests change it before.
    YapDatabaseOptions options;

    const std::string& path() const { return path_; }
    /// Closes what is open, and opens.
    bool open(Error* error = nullptr);
    void close();
    bool isOpen() const { return manager_ != nullptr; }
    /// Lets everything that waits happen: writes and checkpoints in the background, announcements,
    /// and what they cause.
    void settle();
    DispatchQueue& announcements() { return announcements_; }

    PLXDatabaseManager& manager() { return *manager_; }
    YapDatabase& database() { return *manager_->database(); }
    YapDatabaseConnection& background() { return *manager_->bgDatabaseConnection(); }
    bool write(const YapDatabaseConnection::ReadWriteBlock& block, Error* error = nullptr);

    LibrarySight sight(YapDatabaseConnection& connection);
    /// Of a connection that has kept nothing.
    LibrarySight sight();
    /// What the deep check finds, one line for each fault; empty when the library is sound.
    std::string faults();

private:
    std::string path_;
    std::shared_ptr<TestExecutor> executor_ = std::make_shared<TestExecutor>();
    DispatchQueue announcements_{"announcements of a test", executor_};
    std::unique_ptr<PLXDatabaseManager> manager_;
};

}  // namespace qsml
