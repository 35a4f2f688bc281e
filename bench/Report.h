#pragma once
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string_view>
#include <vector>

namespace qsml::bench {

inline double seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

/// The time a function takes, in seconds.
template <class Work>
double timed(Work&& work) {
    const double start = seconds();
    work();
    return seconds() - start;
}

/// The p-th part of the sorted samples, p in [0, 1].
inline double percentile(std::vector<double> samples, double p) {
    if (samples.empty()) return 0;
    std::sort(samples.begin(), samples.end());
    const auto at = static_cast<std::size_t>(p * static_cast<double>(samples.size()));
    return samples[std::min(samples.size() - 1, at)];
}

/// Prints one JSON line per operation; n is the number of tracks.
class Report {
public:
    explicit Report(std::size_t n) : n_(n) {}
    void figure(std::string_view op, std::string_view unit, double value) const {
        std::printf("{\"op\":\"%.*s\",\"n\":%zu,\"unit\":\"%.*s\",\"value\":%.6g}\n",
                    static_cast<int>(op.size()), op.data(), n_, static_cast<int>(unit.size()),
                    unit.data(), value);
        std::fflush(stdout);
    }
    /// Samples in seconds, printed as OP.p50 and OP.p99 in microseconds.
    void latencies(std::string_view op, const std::vector<double>& samples) const {
        figure(std::string(op) + ".p50", "us", percentile(samples, 0.5) * 1e6);
        figure(std::string(op) + ".p99", "us", percentile(samples, 0.99) * 1e6);
    }

private:
    std::size_t n_;
};

}  // namespace qsml::bench
