#include "ProgressBar.h"

#include <QSMediaLibraryData/foundation/Environment.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "output.h"

namespace qsml::app {

namespace {

double now() { return Clock::shared().monotonicSeconds(); }

void toTerminal(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace

ProgressBar::ProgressBar(std::string_view unit)
    : unit_(unit), isShown_(::isatty(STDERR_FILENO) == 1), startSeconds_(now()) {}

ProgressBar::~ProgressBar() { clear(); }

void ProgressBar::update(std::uint64_t done, std::uint64_t total) {
    constexpr double pauseSeconds = 0.1;
    constexpr std::uint64_t cells = 30;
    const double time = now();
    if (!isShown_ || (isDrawn_ && time - drawnSeconds_ < pauseSeconds)) return;
    std::string line = "\r\x1b[K";
    if (total > 0) {
        const auto full = static_cast<std::size_t>(std::min(done * cells / total, cells));
        line += "[" + std::string(full, '#') + std::string(cells - full, '.') + "] ";
        line += grouped(done) + "/" + grouped(std::max(done, total));
    } else {
        line += grouped(done);
    }
    const double seconds = std::max(time - startSeconds_, 1e-3);
    line += fmt::format(" {}, {} a second", unit_,
                        grouped(static_cast<std::uint64_t>(static_cast<double>(done) / seconds)));
    toTerminal(line);
    isDrawn_ = true;
    drawnSeconds_ = time;
}

void ProgressBar::clear() {
    if (!isDrawn_) return;
    toTerminal("\r\x1b[K");
    isDrawn_ = false;
}

}  // namespace qsml::app
