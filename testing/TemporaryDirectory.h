#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace qsml {

/// A new empty folder under the system's temporary one. It goes with the instance, unless the
/// running test has failed: then it stays, and standard error names it. Confined to one thread.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return path_; }
    /// The path of an entry, which need not exist.
    std::string file(std::string_view name) const { return path_ + "/" + std::string(name); }
    /// Names of the entries, sorted.
    std::vector<std::string> entries() const;

private:
    std::string path_;
};

/// The whole content of a file; empty when it cannot be read.
std::string contentOf(const std::string& path);
/// Replaces a file; throws std::runtime_error when that fails.
void writeFile(const std::string& path, std::string_view content);

}  // namespace qsml
