#pragma once
#include <cstdint>
#include <string>

#include "foundation/Error.h"

namespace qsml::detail {

/// The part of the writer lock that other processes see: an advisory lock on the file
/// "DATABASE-lock", held during each write transaction and each checkpoint. Within the process the
/// scheduler lets one writer at a time come here. The kernel releases it when the process dies.
class WriterLock {
public:
    WriterLock() = default;
    ~WriterLock();
    WriterLock(const WriterLock&) = delete;
    WriterLock& operator=(const WriterLock&) = delete;

    /// Opens the lock file, and makes it (mode 0600) when it is missing.
    bool open(const std::string& databasePath, Error* error);
    /// Waits for other processes.
    bool lock(Error* error);
    void unlock() noexcept;

private:
    std::string databasePath_;
    int descriptor_ = -1;
    std::uint32_t forkGeneration_ = 0;
};

/// Holds the lock for a scope.
class WriterLockHold {
public:
    WriterLockHold(WriterLock& lock, Error* error) : lock_(lock), held_(lock.lock(error)) {}
    ~WriterLockHold() {
        if (held_) lock_.unlock();
    }
    WriterLockHold(const WriterLockHold&) = delete;
    WriterLockHold& operator=(const WriterLockHold&) = delete;
    explicit operator bool() const noexcept { return held_; }

private:
    WriterLock& lock_;
    bool held_;
};

}  // namespace qsml::detail
