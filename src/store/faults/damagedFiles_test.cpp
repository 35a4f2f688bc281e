// Files with damage: opening fails and leaves them alone, or every row reads as it was written or
// as absent.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <random>

#include "testing/FaultyFiles.h"
#include "testing/LogCapture.h"
#include "testing/OpenStore.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

constexpr std::size_t pageBytes = 8192;

struct Image {
    std::string file;
    std::string log;
};

std::string randomText(std::mt19937& random, std::size_t size) {
    std::string text(size, ' ');
    for (char& c : text) c = static_cast<char>('!' + random() % 90);
    return text;
}

class GivenADamagedFile : public ::testing::Test {
protected:
    static constexpr std::size_t rowsInFile = 300, rowsInLog = 60;

    void SetUp() override {
        for (std::size_t row = 0; row < rowsInFile + rowsInLog; row++)
            texts_.push_back(randomText(random_, 300));
        files_.skipSyncs();  // No power fails here, and the images are many.
        store_.options.vfsName = files_.vfsName();
        ASSERT_TRUE(store_.open());
        writeRows(0, rowsInFile);
        ASSERT_TRUE(store_.database().checkpoint());
        writeRows(rowsInFile, rowsInFile + rowsInLog);
        whole_ = {contentOf(store_.path()), contentOf(store_.path() + "-wal")};
        store_.close();
        ASSERT_GT(whole_.file.size(), 10 * pageBytes);
        ASSERT_GT(whole_.log.size(), pageBytes);
    }
    void writeRows(std::size_t first, std::size_t end) {
        ASSERT_TRUE(store_.connection().readWrite([&](auto& transaction) {
            for (std::size_t row = first; row < end; row++)
                transaction.setObject(String(texts_[row]), key(row), "texts");
        }));
    }
    static std::string key(std::size_t row) { return "row" + std::to_string(row); }

    void lay(const Image& image) {
        store_.close();
        ::unlink((store_.path() + "-shm").c_str());
        writeFile(store_.path(), image.file);
        writeFile(store_.path() + "-wal", image.log);
    }
    /// Rows that read as absent; a row that reads as something else is a failure.
    std::size_t absentRows(std::size_t count) {
        std::size_t absent = 0;
        for (std::size_t row = 0; row < count; row++) {
            const std::string text = store_.text(key(row));
            if (text == "(nil)" || text == "(error)")
                absent++;
            else
                EXPECT_TRUE(text == texts_[row]) << key(row) << " reads as something else";
        }
        return absent;
    }
    /// The contract for one image, whatever its damage.
    void expectErrorOrTruth(const Image& image) {
        const bool logIsDamaged = !image.log.empty();
        lay(image);
        Error error;
        if (!store_.open(&error)) {
            EXPECT_NE(error.description.find(store_.path()), std::string::npos)
                << error.description;
            EXPECT_TRUE(contentOf(store_.path()) == image.file) << "a refused file was changed";
            EXPECT_TRUE(contentOf(store_.path() + "-wal") == image.log) << "its log was changed";
            refused_++;
            return;
        }
        const std::size_t absent = absentRows(logIsDamaged ? texts_.size() : rowsInFile);
        const std::string faults = store_.faults();
        if (absent > 0) {
            // What the log lost was never there, as far as anybody can tell.
            EXPECT_TRUE(logIsDamaged || !faults.empty()) << absent << " lost rows pass the check";
            withLostRows_++;
        }
        (void)store_.set("new", "new");  // May fail; must come back.
        store_.close();
    }

    std::size_t anyOffset(const std::string& bytes) { return random_() % bytes.size(); }
    void changeBytes(std::string& bytes, std::size_t count) {
        for (std::size_t i = 0; i < count; i++)
            bytes[anyOffset(bytes)] = static_cast<char>(random_());
    }
    std::size_t anyPage() { return random_() % (whole_.file.size() / pageBytes) * pageBytes; }

    std::mt19937 random_{20260313};  // NOLINT(cert-msc51-cpp): the same images each time
    LogCapture log_;
    TemporaryDirectory directory_;
    FaultyFiles files_;
    StoreOfTexts store_{directory_.file("store.db")};
    std::vector<std::string> texts_;
    Image whole_;
    std::size_t refused_ = 0, withLostRows_ = 0;
};

TEST_F(GivenADamagedFile, WhenNothingIsDamagedThenEveryRowIsThere) {
    lay(whole_);
    ASSERT_TRUE(store_.open());
    EXPECT_EQ(absentRows(texts_.size()), 0u);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenADamagedFile, WhenItsBytesChangeAnywhereThenItIsRefusedOrTellsTheTruth) {
    using Damage = std::function<void(Image&)>;
    const Damage kinds[] = {
        [&](Image& image) { changeBytes(image.file, std::size_t{1} << (random_() % 3 * 2)); },
        [&](Image& image) {  // the header of the file or of a page
            const std::size_t page = random_() % 2 ? 0 : anyPage();
            image.file[page + random_() % (page ? 12 : 112)] = static_cast<char>(random_());
        },
        [&](Image& image) {  // not to nothing: an empty file is a new library
            image.file.resize(512 + anyOffset(image.file) / 512 * 512);
        },
        [&](Image& image) { image.file.replace(anyPage(), pageBytes, pageBytes, '\0'); },
        [&](Image& image) {
            const std::size_t a = anyPage(), b = anyPage();
            std::swap_ranges(image.file.begin() + static_cast<std::ptrdiff_t>(a),
                             image.file.begin() + static_cast<std::ptrdiff_t>(a + pageBytes),
                             image.file.begin() + static_cast<std::ptrdiff_t>(b));
        },
        [&](Image& image) { changeBytes(image.log, std::size_t{1} << (random_() % 3 * 2)); },
        [&](Image& image) { image.log.resize(anyOffset(image.log)); },
        [&](Image& image) { image.log[random_() % 56] = static_cast<char>(random_()); }};
    const std::size_t images = testScale(400, 20'000);
    for (std::size_t number = 0; number < images && !HasFailure(); number++) {
        SCOPED_TRACE("image " + std::to_string(number));
        Image image = whole_;
        const std::size_t kind = number % std::size(kinds);
        if (kind < 5) image.log.clear();  // It would hide damage of pages that it holds anew.
        kinds[kind](image);
        expectErrorOrTruth(image);
    }
    EXPECT_GT(refused_, 0u);
    EXPECT_GT(withLostRows_, 0u) << "the damage did no harm";
}

TEST_F(GivenADamagedFile, WhenABitOfAnyStoredTextFlipsThenThatRowIsAbsentAndLogged) {
    std::vector<std::size_t> places;
    for (std::size_t row = 0; row < rowsInFile; row++) {
        const std::size_t place = whole_.file.find(texts_[row]);
        ASSERT_NE(place, std::string::npos) << "the text is not in the file as it is";
        places.push_back(place);
    }
    const std::size_t images = testScale(12, 300 * 8);
    for (std::size_t number = 0; number < images && !HasFailure(); number++) {
        Image image = {whole_.file, ""};
        for (std::size_t row = 0; row < rowsInFile; row += 2) {
            const std::size_t bit = (number * 211 + row * 31) % (300 * 8);
            char& byte = image.file[places[row] + bit / 8];
            byte = static_cast<char>(byte ^ (1 << bit % 8));
        }
        lay(image);
        log_.clear();
        ASSERT_TRUE(store_.open());
        EXPECT_EQ(absentRows(rowsInFile), rowsInFile / 2) << "flips went unnoticed";
        EXPECT_EQ(log_.linesWith("row0").size(), 1u) << "the row is not named in the log";
        const std::string faults = store_.faults();
        EXPECT_EQ(std::count(faults.begin(), faults.end(), '\n'),
                  static_cast<std::ptrdiff_t>(rowsInFile / 2));
        EXPECT_TRUE(store_.set(key(0), "mended"));
        EXPECT_EQ(store_.text(key(0)), "mended");
        store_.close();
    }
}

}  // namespace
}  // namespace qsml
