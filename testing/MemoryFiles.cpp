#include "testing/MemoryFiles.h"

#include <sqlite3.h>

#include <atomic>
#include <cstring>
#include <new>

namespace qsml {

struct MemoryFiles::Vfs {
    sqlite3_vfs vfs = {};
    std::string name;
};

namespace {

struct File {
    sqlite3_file base;
    FileImage* image;
    std::string* suffix;
};

File& at(sqlite3_file* file) { return *reinterpret_cast<File*>(file); }
std::string& bytesOf(sqlite3_file* file) { return (*at(file).image)[*at(file).suffix]; }
FileImage& imageOf(sqlite3_vfs* vfs) { return static_cast<MemoryFiles*>(vfs->pAppData)->image; }
std::string suffixOf(const char* name) {
    return name ? std::string(name).substr(std::strlen(MemoryFiles::databaseName)) : "-temporary";
}

int closeFile(sqlite3_file* file) {
    delete at(file).suffix;
    return SQLITE_OK;
}

int readFile(sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset) {
    const std::string& content = bytesOf(file);
    const auto wanted = static_cast<std::size_t>(size), from = static_cast<std::size_t>(offset);
    const std::size_t there = from < content.size() ? std::min(wanted, content.size() - from) : 0;
    if (there > 0) std::memcpy(bytes, content.data() + from, there);
    if (there == wanted) return SQLITE_OK;
    std::memset(static_cast<char*>(bytes) + there, 0, wanted - there);
    return SQLITE_IOERR_SHORT_READ;
}

int writeToFile(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
    std::string& content = bytesOf(file);
    const auto from = static_cast<std::size_t>(offset), count = static_cast<std::size_t>(size);
    if (content.size() < from + count) content.resize(from + count);
    std::memcpy(content.data() + from, bytes, count);
    return SQLITE_OK;
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
    bytesOf(file).resize(static_cast<std::size_t>(size));
    return SQLITE_OK;
}

int fileSize(sqlite3_file* file, sqlite3_int64* size) {
    *size = static_cast<sqlite3_int64>(bytesOf(file).size());
    return SQLITE_OK;
}

int nothing(sqlite3_file*, int) { return SQLITE_OK; }
int isReserved(sqlite3_file*, int* held) {
    *held = 0;
    return SQLITE_OK;
}
int fileControl(sqlite3_file*, int, void*) { return SQLITE_NOTFOUND; }
int sectorSize(sqlite3_file*) { return 512; }
int characteristics(sqlite3_file*) { return SQLITE_IOCAP_POWERSAFE_OVERWRITE; }

constexpr sqlite3_io_methods methods = {
    1,       closeFile,  readFile,    writeToFile, truncateFile,    nothing, fileSize, nothing,
    nothing, isReserved, fileControl, sectorSize,  characteristics, {},      {},       {},
    {},      {},         {}};

int openFile(sqlite3_vfs* vfs, sqlite3_filename name, sqlite3_file* file, int flags, int* got) {
    file->pMethods = nullptr;
    FileImage& image = imageOf(vfs);
    const std::string suffix = suffixOf(name);
    if (!(flags & SQLITE_OPEN_CREATE) && image.count(suffix) == 0) return SQLITE_CANTOPEN;
    image[suffix];
    file->pMethods = &methods;
    at(file).image = &image;
    at(file).suffix = new std::string(suffix);
    if (got) *got = flags;
    return SQLITE_OK;
}

int removeFile(sqlite3_vfs* vfs, const char* name, int) {
    imageOf(vfs).erase(suffixOf(name));
    return SQLITE_OK;
}

int access(sqlite3_vfs* vfs, const char* name, int, int* result) {
    *result = imageOf(vfs).count(suffixOf(name)) > 0;
    return SQLITE_OK;
}

int fullName(sqlite3_vfs*, const char* name, int size, char* full) {
    sqlite3_snprintf(size, full, "%s", name);
    return SQLITE_OK;
}

}  // namespace

MemoryFiles::MemoryFiles() : vfs_(std::make_unique<Vfs>()) {
    static std::atomic<int> number = 0;
    vfs_->name = "memory-files-" + std::to_string(++number);
    sqlite3_vfs& vfs = vfs_->vfs;
    vfs = *sqlite3_vfs_find(nullptr);
    vfs.pNext = nullptr;
    vfs.szOsFile = sizeof(File);
    vfs.zName = vfs_->name.c_str();
    vfs.pAppData = this;
    vfs.xOpen = openFile;
    vfs.xDelete = removeFile;
    vfs.xAccess = access;
    vfs.xFullPathname = fullName;
    if (sqlite3_vfs_register(&vfs, 0) != SQLITE_OK) throw std::bad_alloc();
}

MemoryFiles::~MemoryFiles() { sqlite3_vfs_unregister(&vfs_->vfs); }

const std::string& MemoryFiles::vfsName() const { return vfs_->name; }

}  // namespace qsml
