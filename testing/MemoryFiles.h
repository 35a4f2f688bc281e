#pragma once
#include <memory>
#include <string>

#include "testing/FileTrace.h"

namespace qsml {

/// A SQLite VFS whose files are the texts of an image, for one connection at a time that locks
/// exclusively (there is no shared memory). Confined to one thread.
class MemoryFiles {
public:
    MemoryFiles();
    ~MemoryFiles();
    MemoryFiles(const MemoryFiles&) = delete;
    MemoryFiles& operator=(const MemoryFiles&) = delete;

    const std::string& vfsName() const;
    /// What is there; the database's name is databaseName.
    FileImage image;
    static constexpr const char* databaseName = "/image";

private:
    struct Vfs;
    std::unique_ptr<Vfs> vfs_;
};

}  // namespace qsml
