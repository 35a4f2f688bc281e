#include "FirstFiles.h"

namespace qsml::app {

std::optional<std::string> FirstFiles::remember(const String& identity, const std::string& path) {
    const auto known = files_.find(identity);
    if (known != files_.end()) return *known->second.folder + known->second.name.str();
    const auto slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    if (folders_.empty() || folders_.back() != folder) folders_.push_back(folder);
    files_.emplace(identity, File{&folders_.back(), String(path.substr(folder.size()))});
    return std::nullopt;
}

}  // namespace qsml::app
