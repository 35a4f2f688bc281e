#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qsml {

class FileTrace;

/// The calls that SQLite makes of the system; a set of them is their sum.
enum class FileCall : unsigned {
    open = 1 << 0,
    read = 1 << 1,
    write = 1 << 2,
    sync = 1 << 3,
    truncate = 1 << 4,
    lock = 1 << 5,
    shmMap = 1 << 6,
    shmLock = 1 << 7,
    size = 1 << 8,
    remove = 1 << 9,
    access = 1 << 10
};
constexpr FileCall operator|(FileCall a, FileCall b) {
    return static_cast<FileCall>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
inline constexpr FileCall anyFileCall = static_cast<FileCall>(0x7ff);

/// A SQLite VFS that forwards to the system's own and fails calls on demand, to be named in
/// YapDatabaseOptions::vfsName. Lives longer than what is opened through it. Thread-safe.
class FaultyFiles {
public:
    FaultyFiles();
    /// Takes the VFS out of service.
    ~FaultyFiles();
    FaultyFiles(const FaultyFiles&) = delete;
    FaultyFiles& operator=(const FaultyFiles&) = delete;

    const std::string& vfsName() const;

    enum class Repeat { once, forever };
    enum class Kind {
        ioError,    ///< each call answers the SQLITE_IOERR of its kind
        diskFull,   ///< SQLITE_FULL, with nothing written
        shortRead,  ///< reads get zeros and SQLITE_IOERR_SHORT_READ
        tornWrite   ///< the first half is written, then SQLITE_IOERR_WRITE
    };
    struct Fault {
        FileCall calls = anyFileCall;
        std::uint64_t number = 1;  ///< the first call that fails, counted from now
        Repeat repeat = Repeat::once;
        Kind kind = Kind::ioError;
    };
    void fail(Fault fault);
    /// Calls succeed again.
    void heal();
    /// How many calls the current or last fault made fail.
    std::uint64_t failures() const;

    /// Calls of these kinds since the last reset.
    std::uint64_t count(FileCall calls) const;
    void resetCounts();
    /// Paths that are open now, and all that ever were; a path once for each time it was opened.
    std::vector<std::string> openFiles() const;
    std::vector<std::string> openedFiles() const;

    /// From now on syncs that do not fail do nothing, which makes long tests quick.
    void skipSyncs();

    /// Writes down from now on what changes the trace's files; null ends that. The trace must live
    /// until then.
    void setTrace(FileTrace* trace);

    /// Runs when a checkpoint has just read the header of a log that other connections changed, and
    /// before it reads how far the log was copied: where a commit does the harm that walReset_test
    /// shows.
    void setCheckpointHook(std::function<void()> hook);

    struct State;

private:
    std::shared_ptr<State> state_;
};

}  // namespace qsml
