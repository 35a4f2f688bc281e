#pragma once
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace qsml {

/// The files of a database, by what follows the database's own name: "", "-wal", "-journal".
using FileImage = std::map<std::string, std::string>;

/// One thing that happened to a file, or a mark between two.
struct FileEvent {
    enum class Kind { write, truncate, sync, remove, mark };
    Kind kind = Kind::mark;
    /// Of the file; in a trace what follows the database's path.
    std::string path = {};
    /// Of a write; the new size of a truncation; the number of a mark; of a removal 1 where the
    /// folder was synchronised with it.
    std::uint64_t offset = 0;
    std::string bytes = {};
};

/// What happened to the files of one database, in order. Thread-safe.
class FileTrace {
public:
    explicit FileTrace(std::string databasePath) : databasePath_(std::move(databasePath)) {}

    /// Events of other files, and of the shared memory, are left out.
    void add(FileEvent event);
    void mark(std::uint64_t number);
    /// Of all so far; to be called when nothing writes any more.
    const std::vector<FileEvent>& events() const { return events_; }

private:
    std::string databasePath_;
    std::mutex mutex_;
    std::vector<FileEvent> events_;
};

/// The files as they are on disk now.
FileImage imageOf(const std::string& databasePath);
/// Makes the files what the image says; files that are not in it go, the shared memory too.
void writeImage(const FileImage& image, const std::string& databasePath);

}  // namespace qsml
