#include "foundation/detail/programFolders.h"

#include <filesystem>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#if defined(__APPLE__)
#include <mach-o/dyld.h>
#endif
#endif

namespace qsml::detail {
namespace {

/// Symbolic links are followed: what is installed beside a file is beside its true place.
std::string folderOf(const std::filesystem::path& file) {
    std::error_code error;
    const auto place = std::filesystem::canonical(file, error);
    return error ? std::string() : place.parent_path().string();
}

#if defined(_WIN32)
std::string folderOfModule(HMODULE module) {
    wchar_t path[32768];
    const DWORD length = GetModuleFileNameW(module, path, 32768);
    return length > 0 && length < 32768 ? folderOf(path) : std::string();
}
#endif

}  // namespace

std::string folderOfProgram() {
#if defined(_WIN32)
    return folderOfModule(nullptr);
#elif defined(__APPLE__)
    char path[4096];
    std::uint32_t size = sizeof path;
    return _NSGetExecutablePath(path, &size) == 0 ? folderOf(path) : std::string();
#else
    return folderOf("/proc/self/exe");
#endif
}

std::string folderOfLibrary() {
#if defined(_WIN32)
    HMODULE module = nullptr;
    GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<LPCWSTR>(&folderOfLibrary), &module);
    return folderOfModule(module);
#else
    Dl_info info{};
    // A program is known by the name that it was started under, which need not be a path.
    if (dladdr(reinterpret_cast<const void*>(&folderOfLibrary), &info) == 0 || !info.dli_fname)
        return folderOfProgram();
    std::string folder = folderOf(info.dli_fname);
    return folder.empty() ? folderOfProgram() : folder;
#endif
}

}  // namespace qsml::detail
