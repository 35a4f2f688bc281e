#include "AsideFile.h"

#include <QSMediaLibraryData/foundation/Dictionary.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "output.h"

namespace qsml::app {

namespace {

std::string base64(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
        std::uint32_t three = 0;
        for (std::size_t i = 0; i < 3; ++i) three = (three << 8) | (i < count ? bytes[at + i] : 0u);
        for (std::size_t i = 0; i < 4; ++i)
            text += i <= count ? digits[(three >> (18 - 6 * i)) & 63] : '=';
    }
    return text;
}

std::string freeName(const std::string& library) {
    std::string name = library + ".aside.jsonl";
    for (int number = 2; ::access(name.c_str(), F_OK) == 0; ++number)
        name = library + ".aside-" + std::to_string(number) + ".jsonl";
    return name;
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == path.npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

AsideFile::AsideFile(const std::string& named, const std::string& library)
    : path_(named.empty() ? freeName(library) : named) {}

AsideFile::~AsideFile() {
    if (file_ >= 0) ::close(file_);
}

bool AsideFile::fail(const char* what) {
    fault_ =
        std::string("cannot ") + what + " " + path_ + ": " + std::generic_category().message(errno);
    return false;
}

bool AsideFile::open() {
    file_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file_ < 0) return fail("make the file");
    // The name must be on the disk as well as what it stands for.
    const int folder = ::open(folderOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return fail("reach the folder of");
    const bool isSynced = ::fsync(folder) == 0;
    ::close(folder);
    return isSynced || fail("store the name of");
}

bool AsideFile::write(const std::string& line) {
    for (std::size_t done = 0; done < line.size();) {
        const ssize_t count = ::write(file_, line.data() + done, line.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return fail("write to");
        done += static_cast<std::size_t>(count);
    }
    return ::fsync(file_) == 0 || fail("store");
}

bool AsideFile::keep(const YapDatabase::DamagedRow& row) {
    if (file_ < 0 && !open()) return false;
    Dictionary line{{"collection", row.collection},
                    {"key", row.key},
                    {"rowid", row.rowid},
                    {"fault", row.description}};
    if (row.data) line.set("data", base64(*row.data));
    if (row.metadata) line.set("metadata", base64(*row.metadata));
    return write(printableJSON(Value(line)) + "\n");
}

}  // namespace qsml::app
