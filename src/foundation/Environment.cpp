#include "foundation/Environment.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <system_error>

#if defined(_WIN32)
#include <random>
#else
#include <unistd.h>
#if defined(__APPLE__)
#include <sys/random.h>
#endif
#endif

namespace qsml {

namespace {

class SystemClock final : public Clock {
public:
    Date now() const override {
        using Seconds = std::chrono::duration<double>;
        const Seconds unixTime = std::chrono::system_clock::now().time_since_epoch();
        return {unixTime.count() - Date::unixTimeOfReferenceDate};
    }
    double monotonicSeconds() const override {
        using Seconds = std::chrono::duration<double>;
        return Seconds(std::chrono::steady_clock::now().time_since_epoch()).count();
    }
};

class SystemRandomSource final : public RandomSource {
public:
    void fill(std::span<std::uint8_t> bytes) override {
#if defined(_WIN32)
        std::random_device device;
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(device());
#else
        constexpr std::size_t mostAtOnce = 256;  // what the system grants in one call
        while (!bytes.empty()) {
            const std::size_t count = std::min(bytes.size(), mostAtOnce);
            if (getentropy(bytes.data(), count) != 0)
                throw std::system_error(errno, std::generic_category(), "getentropy");
            bytes = bytes.subspan(count);
        }
#endif
    }
};

// Never destroyed: threads that outlive main() may still ask for the time.
std::shared_ptr<const Clock>& installedClock() {
    static auto& clock = *new std::shared_ptr<const Clock>(std::make_shared<SystemClock>());
    return clock;
}

std::shared_ptr<RandomSource>& installedRandomSource() {
    static auto& source =
        *new std::shared_ptr<RandomSource>(std::make_shared<SystemRandomSource>());
    return source;
}

}  // namespace

Clock::~Clock() = default;

const Clock& Clock::shared() { return *installedClock(); }

void Clock::setShared(std::shared_ptr<const Clock> clock) {
    installedClock() = clock ? std::move(clock) : std::make_shared<SystemClock>();
}

RandomSource::~RandomSource() = default;

RandomSource& RandomSource::shared() { return *installedRandomSource(); }

void RandomSource::setShared(std::shared_ptr<RandomSource> source) {
    installedRandomSource() = source ? std::move(source) : std::make_shared<SystemRandomSource>();
}

}  // namespace qsml
