#pragma once
#include <deque>
#include <string>
#include <unordered_map>

#include <QSMediaLibraryData/foundation/String.h>

namespace qsml::app {

/// Remembers which file of a run was the first of each track. A folder is kept once for the files
/// that follow each other in it, so a million files take some 150 MB. Confined to one thread.
class FirstFiles {
public:
    /// Nothing when this is the first file of that identity, which is now remembered; else the path
    /// of the first.
    std::optional<std::string> remember(const String& identity, const std::string& path);

private:
    struct File {
        const std::string* folder;  // with the slash at its end
        String name;
    };

    std::deque<std::string> folders_;
    std::unordered_map<String, File> files_;
};

}  // namespace qsml::app
