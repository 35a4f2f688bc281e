#include "testing/LogCapture.h"

#include <utility>

namespace qsml {

LogCapture::LogCapture() {
    previous_ = setLogSink([this](std::string_view line) {
        std::lock_guard lock(mutex_);
        lines_.emplace_back(line);
    });
}

LogCapture::~LogCapture() { setLogSink(std::move(previous_)); }

std::vector<std::string> LogCapture::lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
}

std::vector<std::string> LogCapture::linesWith(std::string_view text) const {
    std::vector<std::string> found;
    for (const auto& line : lines())
        if (line.find(text) != std::string::npos) found.push_back(line);
    return found;
}

void LogCapture::clear() {
    std::lock_guard lock(mutex_);
    lines_.clear();
}

}  // namespace qsml
