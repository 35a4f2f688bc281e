#include "database/libraryfaults/CrashImages.h"

#include <sqlite3.h>

#include <functional>

#include "store/detail/StoreState.h"

namespace qsml {
namespace {

constexpr const char* rowsQuery =
    "SELECT rowid, collection, hex(key), checksum, length(data) FROM row ORDER BY rowid";

/// A connection that changes nothing on disk but what recovery does.
class Reader {
public:
    Reader(const std::string& path, const char* vfs) {
        sqlite3_open_v2(path.c_str(), &handle_, SQLITE_OPEN_READWRITE, vfs);
        sqlite3_db_config(handle_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    }
    ~Reader() { sqlite3_close_v2(handle_); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    std::string ask(const char* sql) {
        std::string lines;
        const auto collect = [](void* to, int count, char** values, char**) {
            for (int i = 0; i < count; ++i)
                static_cast<std::string*>(to)->append(values[i] ? values[i] : "").append(" ");
            return 0;
        };
        char* message = nullptr;
        sqlite3_exec(handle_, sql, collect, &lines, &message);
        if (message) lines = std::string("error: ") + message;
        sqlite3_free(message);
        return lines;
    }
    std::string rows() {
        const std::string all = ask(rowsQuery);
        return std::to_string(std::hash<std::string>()(all)) + "/" + std::to_string(all.size());
    }
    std::size_t content() {
        sqlite3_int64 size = 0;
        unsigned char* const bytes = sqlite3_serialize(handle_, "main", &size, 0);
        if (!bytes) return 0;
        const std::size_t digest = std::hash<std::string_view>()(
            {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)});
        sqlite3_free(bytes);
        return digest;
    }

private:
    sqlite3* handle_ = nullptr;
};

}  // namespace

const ImageFacts& CrashImages::read(const FileImage& image) {
    files_.image = image;
    Reader reader(MemoryFiles::databaseName, files_.vfsName().c_str());
    reader.ask("PRAGMA locking_mode=EXCLUSIVE");
    std::string state = reader.ask("SELECT data FROM yap WHERE extension='' AND key='state'");
    const std::size_t content = reader.content();
    const auto [found, isNew] = known_.emplace(content, ImageFacts{.content = content});
    ImageFacts& facts = found->second;
    if (!isNew) return facts;
    if (!state.empty()) state.pop_back();
    const auto stored = detail::StoreState::fromText(state);
    if (stored)
        facts.snapshot = stored->snapshot;
    else
        facts.fault = "no state of the store: " + state;
    const std::string integrity = reader.ask("PRAGMA integrity_check");
    if (integrity != "ok ") facts.fault += integrity;
    facts.rows = reader.rows();
    return facts;
}

std::string CrashImages::rowsOf(const std::string& path) { return Reader(path, nullptr).rows(); }

}  // namespace qsml
