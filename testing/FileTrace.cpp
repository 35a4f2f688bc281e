#include "testing/FileTrace.h"

#include <unistd.h>

#include "testing/TemporaryDirectory.h"

namespace qsml {
namespace {
constexpr const char* suffixes[] = {"", "-wal", "-journal"};
}

void FileTrace::add(FileEvent event) {
    const std::lock_guard lock(mutex_);
    for (const std::string suffix : suffixes) {
        if (event.path != databasePath_ + suffix) continue;
        event.path = suffix;
        events_.push_back(std::move(event));
        return;
    }
}

void FileTrace::mark(std::uint64_t number) {
    const std::lock_guard lock(mutex_);
    events_.push_back({.kind = FileEvent::Kind::mark, .offset = number});
}

FileImage imageOf(const std::string& databasePath) {
    FileImage image;
    for (const std::string suffix : suffixes)
        if (::access((databasePath + suffix).c_str(), F_OK) == 0)
            image[suffix] = contentOf(databasePath + suffix);
    return image;
}

void writeImage(const FileImage& image, const std::string& databasePath) {
    ::unlink((databasePath + "-shm").c_str());
    for (const std::string suffix : suffixes) {
        const auto file = image.find(suffix);
        if (file == image.end())
            ::unlink((databasePath + suffix).c_str());
        else
            writeFile(databasePath + suffix, file->second);
    }
}

}  // namespace qsml
