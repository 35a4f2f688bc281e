#pragma once
#include <string>

#include <QSMediaLibraryData/store/YapDatabase.h>

namespace qsml::app {

/// A new file of JSON lines that holds what is taken out of a library. Made with the first row, for
/// nobody else to read; nothing is there when there was none. Confined to one thread.
class AsideFile {
public:
    /// Empty: beside the library, under the first name that is free.
    AsideFile(const std::string& named, const std::string& library);
    ~AsideFile();
    AsideFile(const AsideFile&) = delete;
    AsideFile& operator=(const AsideFile&) = delete;

    const std::string& path() const { return path_; }
    /// Writes the row with all its bytes and answers when the disk has it. False when that failed;
    /// fault() then says why.
    bool keep(const YapDatabase::DamagedRow& row);
    const std::string& fault() const { return fault_; }

private:
    bool open();
    bool write(const std::string& line);
    bool fail(const char* what);

    std::string path_;
    std::string fault_;
    int file_ = -1;
};

}  // namespace qsml::app
