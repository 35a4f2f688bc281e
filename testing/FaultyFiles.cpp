#include "testing/FaultyFiles.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstring>
#include <map>
#include <mutex>
#include <new>

#include "testing/FileTrace.h"

namespace qsml {

struct FaultyFiles::State {
    sqlite3_vfs vfs = {};
    sqlite3_vfs* real = nullptr;
    std::string name;

    mutable std::mutex mutex;
    bool armed = false;
    Fault fault;
    std::uint64_t matching = 0;
    std::uint64_t failures = 0;
    std::array<std::uint64_t, 16> counts = {};
    std::map<const sqlite3_file*, std::string> open;
    std::vector<std::string> opened;
    std::function<void()> checkpointHook;
    std::atomic<bool> skipsSyncs = false;
    FileTrace* trace = nullptr;

    /// Whether this call is one of those that fail.
    bool fails(FileCall call) {
        std::lock_guard lock(mutex);
        counts[static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(call)))]++;
        if (!armed || !(static_cast<unsigned>(fault.calls) & static_cast<unsigned>(call)))
            return false;
        if (++matching < fault.number) return false;
        if (matching > fault.number && fault.repeat == Repeat::once) return false;
        failures++;
        return true;
    }
    Kind kind() const {
        std::lock_guard lock(mutex);
        return fault.kind;
    }
    /// Where there is a trace, writes down what just happened to the file.
    void note(const sqlite3_file* file, FileEvent event) {
        std::lock_guard lock(mutex);
        const auto found = open.find(file);
        if (!trace || found == open.end()) return;
        event.path = found->second;
        trace->add(std::move(event));
    }
    void note(const char* path, FileEvent event) {
        std::lock_guard lock(mutex);
        event.path = path;
        if (trace) trace->add(std::move(event));
    }
    bool isTraced() const {
        std::lock_guard lock(mutex);
        return trace != nullptr;
    }
    int code(int ioError) const { return kind() == Kind::diskFull ? SQLITE_FULL : ioError; }
};

namespace {

struct File {
    sqlite3_file base;
    FaultyFiles::State* state;
    sqlite3_file* real;  ///< in the memory behind this struct
};

File& at(sqlite3_file* file) { return *reinterpret_cast<File*>(file); }
FaultyFiles::State& at(sqlite3_vfs* vfs) {
    return *static_cast<FaultyFiles::State*>(vfs->pAppData);
}

/// Forwards to the method of the real file, unless the call is to fail.
template <class Call, class... Arguments>
int forward(sqlite3_file* file, FileCall call, int ioError, Call method, Arguments... arguments) {
    File& self = at(file);
    if (self.state->fails(call)) return self.state->code(ioError);
    return (self.real->pMethods->*method)(self.real, arguments...);
}

int closeFile(sqlite3_file* file) {
    File& self = at(file);
    const int result = self.real->pMethods->xClose(self.real);
    std::lock_guard lock(self.state->mutex);
    self.state->open.erase(file);
    return result;
}

int readFile(sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset) {
    File& self = at(file);
    if (!self.state->fails(FileCall::read))
        return self.real->pMethods->xRead(self.real, bytes, size, offset);
    if (self.state->kind() != FaultyFiles::Kind::shortRead) return SQLITE_IOERR_READ;
    std::memset(bytes, 0, static_cast<std::size_t>(size));
    return SQLITE_IOERR_SHORT_READ;
}

int writeToFile(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
    File& self = at(file);
    if (!self.state->fails(FileCall::write)) {
        if (self.state->isTraced())
            self.state->note(file, {.kind = FileEvent::Kind::write,
                                    .offset = static_cast<std::uint64_t>(offset),
                                    .bytes = std::string(static_cast<const char*>(bytes),
                                                         static_cast<std::size_t>(size))});
        return self.real->pMethods->xWrite(self.real, bytes, size, offset);
    }
    if (self.state->kind() == FaultyFiles::Kind::tornWrite)
        self.real->pMethods->xWrite(self.real, bytes, size / 2, offset);
    return self.state->code(SQLITE_IOERR_WRITE);
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
    at(file).state->note(
        file, {.kind = FileEvent::Kind::truncate, .offset = static_cast<std::uint64_t>(size)});
    return forward(file, FileCall::truncate, SQLITE_IOERR_TRUNCATE, &sqlite3_io_methods::xTruncate,
                   size);
}
int syncFile(sqlite3_file* file, int flags) {
    FaultyFiles::State& state = *at(file).state;
    state.note(file, {.kind = FileEvent::Kind::sync});
    if (state.skipsSyncs) return state.fails(FileCall::sync) ? SQLITE_IOERR_FSYNC : SQLITE_OK;
    return forward(file, FileCall::sync, SQLITE_IOERR_FSYNC, &sqlite3_io_methods::xSync, flags);
}
int fileSize(sqlite3_file* file, sqlite3_int64* size) {
    return forward(file, FileCall::size, SQLITE_IOERR_FSTAT, &sqlite3_io_methods::xFileSize, size);
}
int lockFile(sqlite3_file* file, int level) {
    return forward(file, FileCall::lock, SQLITE_IOERR_LOCK, &sqlite3_io_methods::xLock, level);
}
int shmMap(sqlite3_file* file, int page, int size, int extend, void volatile** memory) {
    return forward(file, FileCall::shmMap, SQLITE_IOERR_SHMMAP, &sqlite3_io_methods::xShmMap, page,
                   size, extend, memory);
}
int shmLock(sqlite3_file* file, int offset, int count, int flags) {
    // An unlock that fails is no fault of the world: the system never refuses it.
    if (flags & SQLITE_SHM_UNLOCK)
        return at(file).real->pMethods->xShmLock(at(file).real, offset, count, flags);
    return forward(file, FileCall::shmLock, SQLITE_IOERR_SHMLOCK, &sqlite3_io_methods::xShmLock,
                   offset, count, flags);
}

int unlockFile(sqlite3_file* file, int level) {
    return at(file).real->pMethods->xUnlock(at(file).real, level);
}
int checkReservedLock(sqlite3_file* file, int* held) {
    return at(file).real->pMethods->xCheckReservedLock(at(file).real, held);
}
int fileControl(sqlite3_file* file, int operation, void* argument) {
    return at(file).real->pMethods->xFileControl(at(file).real, operation, argument);
}
int sectorSize(sqlite3_file* file) { return at(file).real->pMethods->xSectorSize(at(file).real); }
int characteristics(sqlite3_file* file) {
    return at(file).real->pMethods->xDeviceCharacteristics(at(file).real);
}
void shmBarrier(sqlite3_file* file) { at(file).real->pMethods->xShmBarrier(at(file).real); }
int shmUnmap(sqlite3_file* file, int removes) {
    return at(file).real->pMethods->xShmUnmap(at(file).real, removes);
}
int fetch(sqlite3_file*, sqlite3_int64, int, void** memory) {
    *memory = nullptr;  // Nothing is mapped: every page goes through xRead, where it can fail.
    return SQLITE_OK;
}
int unfetch(sqlite3_file* file, sqlite3_int64, void* memory) {
    FaultyFiles::State& state = *at(file).state;
    std::function<void()> hook;
    {
        std::lock_guard lock(state.mutex);
        if (!memory) hook = state.checkpointHook;
    }
    if (hook) hook();
    return SQLITE_OK;
}

constexpr sqlite3_io_methods methods = {
    3,        closeFile,  readFile,          writeToFile, truncateFile, syncFile,        fileSize,
    lockFile, unlockFile, checkReservedLock, fileControl, sectorSize,   characteristics, shmMap,
    shmLock,  shmBarrier, shmUnmap,          fetch,       unfetch};

int openFile(sqlite3_vfs* vfs, sqlite3_filename name, sqlite3_file* file, int flags, int* got) {
    FaultyFiles::State& state = at(vfs);
    file->pMethods = nullptr;
    if (state.fails(FileCall::open)) return state.code(SQLITE_CANTOPEN);
    File& self = at(file);
    self.state = &state;
    self.real = reinterpret_cast<sqlite3_file*>(&self + 1);
    const int result = state.real->xOpen(state.real, name, self.real, flags, got);
    if (!self.real->pMethods) return result;
    file->pMethods = &methods;
    std::lock_guard lock(state.mutex);
    state.open[file] = name ? name : "";
    state.opened.emplace_back(name ? name : "");
    return result;
}

int removeFile(sqlite3_vfs* vfs, const char* name, int syncs) {
    FaultyFiles::State& state = at(vfs);
    if (state.fails(FileCall::remove)) return state.code(SQLITE_IOERR_DELETE);
    state.note(name, {.kind = FileEvent::Kind::remove, .offset = syncs ? 1u : 0u});
    return state.real->xDelete(state.real, name, syncs);
}

int access(sqlite3_vfs* vfs, const char* name, int flags, int* result) {
    FaultyFiles::State& state = at(vfs);
    if (state.fails(FileCall::access)) return state.code(SQLITE_IOERR_ACCESS);
    return state.real->xAccess(state.real, name, flags, result);
}

/// States that were still in use when their FaultyFiles went; they stay for good.
std::vector<std::shared_ptr<FaultyFiles::State>>& abandoned() {
    static auto* states = new std::vector<std::shared_ptr<FaultyFiles::State>>;
    return *states;
}

}  // namespace

FaultyFiles::FaultyFiles() : state_(std::make_shared<State>()) {
    State& state = *state_;
    state.real = sqlite3_vfs_find(nullptr);
    static std::atomic<int> number = 0;
    state.name = "faulty-files-" + std::to_string(++number);
    // The calls that take no file forward with the real VFS as it was copied here: they use no app
    // data.
    state.vfs = *state.real;
    state.vfs.pNext = nullptr;
    state.vfs.szOsFile = static_cast<int>(sizeof(File)) + state.real->szOsFile;
    state.vfs.zName = state.name.c_str();
    state.vfs.pAppData = &state;
    state.vfs.xOpen = openFile;
    state.vfs.xDelete = removeFile;
    state.vfs.xAccess = access;
    if (sqlite3_vfs_register(&state.vfs, 0) != SQLITE_OK) throw std::bad_alloc();
}

FaultyFiles::~FaultyFiles() {
    setCheckpointHook({});
    setTrace(nullptr);
    heal();
    sqlite3_vfs_unregister(&state_->vfs);
    if (!openFiles().empty()) abandoned().push_back(state_);
}

const std::string& FaultyFiles::vfsName() const { return state_->name; }

void FaultyFiles::fail(Fault fault) {
    std::lock_guard lock(state_->mutex);
    state_->fault = fault;
    state_->matching = state_->failures = 0;
    state_->armed = true;
}

void FaultyFiles::heal() {
    std::lock_guard lock(state_->mutex);
    state_->armed = false;
}

std::uint64_t FaultyFiles::failures() const {
    std::lock_guard lock(state_->mutex);
    return state_->failures;
}

std::uint64_t FaultyFiles::count(FileCall calls) const {
    std::lock_guard lock(state_->mutex);
    std::uint64_t sum = 0;
    for (std::size_t bit = 0; bit < state_->counts.size(); bit++)
        if (static_cast<unsigned>(calls) >> bit & 1) sum += state_->counts[bit];
    return sum;
}

void FaultyFiles::resetCounts() {
    std::lock_guard lock(state_->mutex);
    state_->counts = {};
}

std::vector<std::string> FaultyFiles::openFiles() const {
    std::lock_guard lock(state_->mutex);
    std::vector<std::string> paths;
    for (const auto& [file, path] : state_->open) paths.push_back(path);
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::vector<std::string> FaultyFiles::openedFiles() const {
    std::lock_guard lock(state_->mutex);
    return state_->opened;
}

void FaultyFiles::skipSyncs() { state_->skipsSyncs = true; }

void FaultyFiles::setTrace(FileTrace* trace) {
    std::lock_guard lock(state_->mutex);
    state_->trace = trace;
}

void FaultyFiles::setCheckpointHook(std::function<void()> hook) {
    std::lock_guard lock(state_->mutex);
    state_->checkpointHook = std::move(hook);
}

}  // namespace qsml
