#include "foundation/Environment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <vector>

#include "foundation/UUID.h"

using namespace qsml;

TEST(GivenTheSystemClock, WhenAskedThenItAgreesWithTheSystemAndNeverRunsBackwards) {
    const auto before = static_cast<double>(std::time(nullptr)) - 1;
    const double now =
        Clock::shared().now().secondsSinceReferenceDate + Date::unixTimeOfReferenceDate;
    const auto after = static_cast<double>(std::time(nullptr)) + 1;
    EXPECT_GE(now, before);
    EXPECT_LE(now, after);
    double last = Clock::shared().monotonicSeconds();
    for (int i = 0; i < 1000; ++i) {
        const double next = Clock::shared().monotonicSeconds();
        EXPECT_GE(next, last);
        last = next;
    }
}

TEST(GivenAClockOfTheTest, WhenInstalledThenItIsAskedUntilRemoved) {
    struct Fixed : Clock {
        Date now() const override { return {42}; }
        double monotonicSeconds() const override { return 7; }
    };
    Clock::setShared(std::make_shared<Fixed>());
    EXPECT_EQ(Clock::shared().now(), Date{42});
    EXPECT_EQ(Clock::shared().monotonicSeconds(), 7);
    Clock::setShared(nullptr);
    EXPECT_NE(Clock::shared().now(), Date{42});
}

TEST(GivenARandomSourceOfTheTest, WhenInstalledThenUUIDsComeFromIt) {
    struct Ones : RandomSource {
        void fill(std::span<std::uint8_t> bytes) override { std::ranges::fill(bytes, 0xFF); }
    };
    RandomSource::setShared(std::make_shared<Ones>());
    const String text = UUID::random().UUIDString();
    RandomSource::setShared(nullptr);
    EXPECT_EQ(text, "FFFFFFFF-FFFF-4FFF-BFFF-FFFFFFFFFFFF");
}

TEST(GivenTheSystemsRandomSource, WhenALongSpanIsFilledThenAllOfItIs) {
    std::vector<std::uint8_t> bytes(1000);
    RandomSource::shared().fill(bytes);
    // 100 bytes of zeros by chance: once in 256 to the power of 100 runs.
    for (std::size_t i = 0; i < bytes.size(); i += 100)
        EXPECT_NE(std::count(bytes.begin() + static_cast<std::ptrdiff_t>(i),
                             bytes.begin() + static_cast<std::ptrdiff_t>(i + 100), 0),
                  100);
}
