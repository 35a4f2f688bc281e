#pragma once
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Log.h"

namespace qsml {

/// Collects the log lines of the process for as long as it lives, instead of the sink that was
/// there. Instances nest. Thread-safe.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> lines() const;
    /// The lines that contain the text.
    std::vector<std::string> linesWith(std::string_view text) const;
    void clear();

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_ QSML_GUARDED_BY(mutex_);
    LogSink previous_;
};

}  // namespace qsml
