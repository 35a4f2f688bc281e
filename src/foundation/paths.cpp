#include "foundation/paths.h"

#include <cstdlib>
#include <filesystem>

#include "foundation/Bundle.h"

#if !defined(_WIN32)
#include <pwd.h>
#include <unistd.h>
#endif

namespace qsml {
namespace {

/// The variable's value when it is an absolute path; conventions ask that others be ignored.
std::string folderOfVariable(const char* name) {
    const char* value = std::getenv(name);
    return value && std::filesystem::path(value).is_absolute() ? value : std::string();
}

std::string homeFolder() {
#if defined(_WIN32)
    return folderOfVariable("USERPROFILE");
#else
    if (std::string home = folderOfVariable("HOME"); !home.empty()) return home;
    char texts[4096];
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, texts, sizeof texts, &found) != 0 || !found) return "/";
    return found->pw_dir;
#endif
}

std::string applicationDataFolder() {
#if defined(_WIN32)
    return folderOfVariable("APPDATA");
#elif defined(__APPLE__)
    return homeFolder() + "/Library/Application Support";
#else
    std::string folder = folderOfVariable("XDG_DATA_HOME");
    return folder.empty() ? homeFolder() + "/.local/share" : folder;
#endif
}

}  // namespace

std::string expandingTildeInPath(std::string_view path) {
    if (path != "~" && !path.starts_with("~/")) return std::string(path);
    return homeFolder().append(path.substr(1));
}

std::optional<URL> appendingPathComponent(const URL& folder, std::string_view component) {
    using namespace std::string_view_literals;
    if (component.empty() || component == "." || component == "..") return std::nullopt;
    if (component.find_first_of("/\\\0"sv) != component.npos) return std::nullopt;
#if defined(_WIN32)
    // Drives, streams, and names that the system takes for others.
    if (component.find(':') != component.npos || component.ends_with('.') ||
        component.ends_with(' '))
        return std::nullopt;
#endif
    std::string path = folder.path();
    if (!path.ends_with('/')) path += '/';
    return URL::fileURLWithPath(path.append(component));
}

URL applicationSupportDirectory() {
    const URL folder = URL::fileURLWithPath(applicationDataFolder());
    const String identifier = Bundle::main().infoValue("CFBundleIdentifier").string();
    return appendingPathComponent(folder, identifier).value_or(folder);
}

}  // namespace qsml
