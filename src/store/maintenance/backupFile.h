#pragma once
#include <cstdint>
#include <functional>
#include <string>

#include "store/detail/SqliteHandle.h"

namespace qsml::detail {

struct BackupRequest {
    std::string source;
    std::string destination;
    SqliteSettings settings;
    std::function<void(std::uint64_t done, std::uint64_t total)> progress;
};

/// YapDatabase::backup(). Any thread, beside other transactions.
bool backupFile(const BackupRequest& request, Error* error);

}  // namespace qsml::detail
