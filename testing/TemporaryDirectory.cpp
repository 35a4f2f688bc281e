#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace qsml {

TemporaryDirectory::TemporaryDirectory() {
    // Canonical, so that tests can compare it with the paths that the library reports.
    path_ = std::filesystem::canonical(std::filesystem::temp_directory_path()) / "qsml.XXXXXX";
    if (!::mkdtemp(path_.data())) throw std::runtime_error("No temporary folder: " + path_);
}

TemporaryDirectory::~TemporaryDirectory() {
    if (::testing::Test::HasFailure()) {
        std::cerr << "The test's files are kept in " << path_ << "\n";
        return;
    }
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::vector<std::string> TemporaryDirectory::entries() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return std::move(content).str();
}

void writeFile(const std::string& path, std::string_view content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!file.flush()) throw std::runtime_error("Cannot write " + path);
}

}  // namespace qsml
