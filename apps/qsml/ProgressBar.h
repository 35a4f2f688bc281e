#pragma once
#include <cstdint>
#include <string_view>

namespace qsml::app {

/// One line on standard error that tells how far a job is; nothing at all without a terminal there.
/// Confined to one thread.
class ProgressBar {
public:
    /// `unit` is what is counted, as "files"; it outlives the bar.
    explicit ProgressBar(std::string_view unit);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    bool isShown() const { return isShown_; }
    /// Draws at most ten times a second. A total of 0 is an unknown one.
    void update(std::uint64_t done, std::uint64_t total);
    /// Wipes the line, so that something else can be written; the next update draws it again.
    void clear();

private:
    std::string_view unit_;
    bool isShown_;
    bool isDrawn_ = false;
    double startSeconds_;
    double drawnSeconds_ = 0;
};

}  // namespace qsml::app
