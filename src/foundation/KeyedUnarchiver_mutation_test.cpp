#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "foundation/archiveDescription.h"
#include "testing/SampleRecord.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// The archive of a record with every type, damaged in many ways. Reading ends in nil with an
/// error, or in some sound value, and never in a crash: what the sanitizers watch.
class GivenADamagedArchive : public ::testing::Test {
protected:
    void SetUp() override {
        SampleRecord::registerClass();
        KeyedArchiver archiver;
        const auto bytes = archiver.archive(*filledSampleRecord());
        sound_.assign(bytes.begin(), bytes.end());
        SampleRecord::letGo();
    }

    void read(std::span<const std::uint8_t> bytes) {
        Error error;
        const Value made = unarchiver_.unarchive(bytes, &error);
        if (error) {
            ++errors_;
            ASSERT_TRUE(made.isNil());
            ASSERT_FALSE(error.description.empty());
        }
        SampleRecord::letGo();
    }

    Bytes sound_;
    KeyedUnarchiver unarchiver_;
    std::size_t errors_ = 0;
};

TEST_F(GivenADamagedArchive, WhenCutAtAnyByteThenAnError) {
    for (std::size_t size = 0; size < sound_.size(); ++size) {
        const Bytes cut(sound_.begin(), sound_.begin() + static_cast<std::ptrdiff_t>(size));
        read(cut);
        EXPECT_TRUE(archiveDescription(cut).empty()) << size;
    }
    EXPECT_EQ(errors_, sound_.size());
}

TEST_F(GivenADamagedArchive, WhenAnyBitIsFlippedThenNilOrSound) {
    Bytes bytes = sound_;
    for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
        const auto mask = static_cast<std::uint8_t>(1u << bit % 8);
        bytes[bit / 8] ^= mask;
        read(bytes);
        archiveDescription(bytes);
        bytes[bit / 8] ^= mask;
    }
    EXPECT_GT(errors_, 0u);
    EXPECT_LT(errors_, 8 * bytes.size());
}

TEST_F(GivenADamagedArchive, WhenManyBytesChangeThenNilOrSound) {
    std::mt19937_64 random(20010101);  // always the same mutants
    const std::uint8_t telling[] = {0,    1,    0x0F, 0x10, 0x13, 0x14, 0x5F,
                                    0x6F, 0x7F, 0x80, 0xAF, 0xDF, 0xFF};
    const std::size_t mutants = testScale(20000, 100000);
    for (std::size_t i = 0; i < mutants; ++i) {
        Bytes bytes = sound_;
        for (std::uint64_t changes = 2 + random() % 7; changes > 0; --changes) {
            const std::uint64_t what = random() % 4;
            std::uint8_t& place = bytes[random() % bytes.size()];
            if (what == 0) place = static_cast<std::uint8_t>(random() & 0xFF);
            if (what == 1) place = telling[random() % std::size(telling)];
            if (what == 2) ++place;
            if (what == 3) place = bytes[random() % bytes.size()];
        }
        read(bytes);
    }
    EXPECT_GT(errors_, 0u);
}

/// What fuzzing found interesting stays covered where there is no fuzzer.
TEST_F(GivenADamagedArchive, WhenTheFuzzingCorpusIsReplayedThenNilOrSound) {
    const std::filesystem::path corpus = QSML_FUZZ_CORPUS "/keyed_archive";
    ASSERT_TRUE(std::filesystem::is_directory(corpus));
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(corpus)) {
        std::ifstream file(entry.path(), std::ios::binary);
        const Bytes bytes{std::istreambuf_iterator<char>(file), {}};
        read(bytes);
        archiveDescription(bytes);
        ++files;
    }
    EXPECT_GT(files, 0u);
}

}  // namespace
}  // namespace qsml
