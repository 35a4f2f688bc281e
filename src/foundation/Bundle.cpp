#include "foundation/Bundle.h"

#include <filesystem>
#include <map>
#include <mutex>
#include <string>

#include "foundation/detail/programFolders.h"
#include "foundation/paths.h"

namespace qsml {
namespace {

std::optional<URL> folderOfMainBundle() {
    const std::string folder = detail::folderOfProgram();
    if (folder.empty()) return std::nullopt;
    return URL::fileURLWithPath(folder);
}

std::optional<URL> folderOfLibraryBundle() {
    constexpr int highest = 3;
    std::error_code error;
    for (std::filesystem::path folder : {detail::folderOfLibrary(), detail::folderOfProgram()})
        for (int level = 0; level < highest && folder.has_relative_path(); ++level) {
            folder = folder.parent_path();
            const auto resources = folder / "share/QSMediaLibraryData";
            if (std::filesystem::is_directory(resources, error))
                return URL::fileURLWithPath(resources.string());
        }
    if (std::filesystem::is_directory(QSML_INSTALLED_RESOURCES, error))
        return URL::fileURLWithPath(QSML_INSTALLED_RESOURCES);
    return std::nullopt;
}

}  // namespace

struct Bundle::Content {
    std::mutex mutex;
    std::map<std::string, Value, std::less<>> information QSML_GUARDED_BY(mutex);
    std::optional<URL> resourceURL QSML_GUARDED_BY(mutex);
};

Bundle::Bundle(FindFolder findFolder) : findFolder_(findFolder), content_(*new Content()) {}

Bundle& Bundle::main() {
    static auto& bundle = *new Bundle(folderOfMainBundle);
    return bundle;
}

Bundle& Bundle::library() {
    static auto& bundle = *new Bundle(folderOfLibraryBundle);
    return bundle;
}

Value Bundle::infoValue(std::string_view key) const {
    const std::lock_guard lock(content_.mutex);
    const auto found = content_.information.find(key);
    return found == content_.information.end() ? Value() : found->second;
}

void Bundle::setInfoValue(std::string_view key, Value value) {
    const std::lock_guard lock(content_.mutex);
    auto& values = content_.information;
    const auto found = values.find(key);
    if (found == values.end()) {
        if (!value.isNil()) values.emplace(std::string(key), std::move(value));
    } else if (value.isNil()) {
        values.erase(found);
    } else {
        found->second = std::move(value);
    }
}

std::optional<URL> Bundle::resourceURL() const {
    {
        const std::lock_guard lock(content_.mutex);
        if (content_.resourceURL) return content_.resourceURL;
    }
    return findFolder_();
}

void Bundle::setResourceURL(std::optional<URL> folder) {
    const std::lock_guard lock(content_.mutex);
    content_.resourceURL = std::move(folder);
}

std::optional<URL> Bundle::URLForResource(std::string_view name, std::string_view extension,
                                          std::string_view subdirectory) const {
    std::optional<URL> place = resourceURL();
    if (place && !subdirectory.empty()) place = appendingPathComponent(*place, subdirectory);
    if (place)
        place = appendingPathComponent(*place, std::string(name) + "." + std::string(extension));
    std::error_code error;
    if (!place || !std::filesystem::exists(place->path(), error)) return std::nullopt;
    return place;
}

}  // namespace qsml
