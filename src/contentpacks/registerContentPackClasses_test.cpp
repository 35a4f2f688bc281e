#include "contentpacks/registerContentPackClasses.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "contentpacks/PLXContentPackMediaItem.h"
#include "contentpacks/PLXSamplerPack.h"
#include "database/collectionNames.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "testing/OpenLibrary.h"
#include "testing/recordArchives.h"

namespace qsml {
namespace {

constexpr std::string_view collection = PLXDatabaseCollectionContentPackMediaItems;

/// Writes a file of a pack as earlier versions did: under the class name of that time, without a
/// UUID.
class FormerItem final : public Object {
public:
    explicit FormerItem(const ArchiveClass& formerClass) : formerClass_(formerClass) {}
    const ArchiveClass& archiveClass() const override { return formerClass_; }
    void encodeWithCoder(KeyedArchiver& coder) const override {
        coder.encodeString("name", "Kick");
        coder.encodeString("contentPackUUID", "pack-1");
        coder.encodeFloat("bpm", 124);
    }
    bool initWithCoder(KeyedUnarchiver&) override { return false; }

private:
    const ArchiveClass& formerClass_;
};

constexpr ArchiveClass formerClasses[] = {{"PLXLooperSample", nullptr, nullptr},
                                          {"PLXSamplerSample", nullptr, nullptr},
                                          {"PLXVisualizerVideo", nullptr, nullptr}};

class GivenALibraryOfAnEarlierVersion : public OpenLibrary {
protected:
    void SetUp() override {
        OpenLibrary::SetUp();
        for (const ArchiveClass& formerClass : formerClasses)
            write(std::make_shared<const FormerItem>(formerClass), formerClass.name());
    }
    void write(const std::shared_ptr<const Object>& object, std::string_view key) {
        Error error;
        EXPECT_TRUE(manager_.bgDatabaseConnection()->readWrite(
            [&](auto& transaction) { transaction.setObject(Value(object), key, collection); },
            &error))
            << error.description;
        manager_.database()->flushMemory();
    }
    std::shared_ptr<const PLXContentPackMediaItem> read(std::string_view key) {
        std::shared_ptr<const PLXContentPackMediaItem> item;
        manager_.bgDatabaseConnection()->read([&](auto& transaction) {
            item = transaction.template object<PLXContentPackMediaItem>(key, collection);
        });
        return item;
    }
    /// The archive in the file, as text.
    std::string storedArchive(std::string_view key) {
        sqlite3* file = nullptr;
        sqlite3_stmt* row = nullptr;
        std::string text;
        if (sqlite3_open(path().c_str(), &file) == SQLITE_OK &&
            sqlite3_prepare_v2(file, "SELECT data FROM records WHERE key = ?", -1, &row, nullptr) ==
                SQLITE_OK &&
            sqlite3_bind_text(row, 1, key.data(), static_cast<int>(key.size()), nullptr) ==
                SQLITE_OK &&
            sqlite3_step(row) == SQLITE_ROW)
            text =
                archiveDescription({static_cast<const std::uint8_t*>(sqlite3_column_blob(row, 0)),
                                    static_cast<std::size_t>(sqlite3_column_bytes(row, 0))});
        sqlite3_finalize(row);
        sqlite3_close(file);
        return text;
    }
};

TEST_F(GivenALibraryOfAnEarlierVersion, WhenItsItemsAreReadThenTheyAreFilesOfPacks) {
    for (const ArchiveClass& formerClass : formerClasses) {
        const auto item = read(formerClass.name());
        ASSERT_TRUE(item) << formerClass.name();
        EXPECT_EQ(&item->recordClass(), &PLXContentPackMediaItem::classObject());
        EXPECT_EQ(item->name(), "Kick");
        EXPECT_EQ(item->bpm(), 124.0F);
        EXPECT_EQ(item->uuid(), PLXContentPackMediaItem::initWithName("Kick", "pack-1")->uuid());
        EXPECT_TRUE(item->isImmutable());
    }
}

TEST_F(GivenALibraryOfAnEarlierVersion, WhenAnItemIsWrittenBackThenItIsUnderItsNewName) {
    ASSERT_NE(storedArchive("PLXLooperSample").find("\"PLXLooperSample\""), std::string::npos);
    const auto copy = read("PLXLooperSample")->copy();
    copy->setFileName("kick.wav");
    write(copy, "PLXLooperSample");
    const std::string stored = storedArchive("PLXLooperSample");
    EXPECT_EQ(stored.find("PLXLooperSample"), std::string::npos) << stored;
    EXPECT_NE(stored.find("\"PLXContentPackMediaItem\""), std::string::npos) << stored;
    const auto again = read("PLXLooperSample");
    EXPECT_EQ(again->fileName(), "kick.wav");
    EXPECT_EQ(again->name(), "Kick");
    EXPECT_EQ(again->uuid(), copy->uuid());
}

TEST_F(GivenALibraryOfAnEarlierVersion, WhenASamplerPackIsStoredThenItComesBackFrozenWithItsPads) {
    const auto pack = PLXSamplerPack::userContentPack();
    write(pack, *pack->uuid());
    EXPECT_FALSE(pack->hasChangedProperties());
    std::shared_ptr<const PLXSamplerPack> stored;
    manager_.bgDatabaseConnection()->read([&](auto& transaction) {
        stored = transaction.template object<PLXSamplerPack>(*pack->uuid(), collection);
    });
    ASSERT_TRUE(stored);
    EXPECT_NE(stored, pack);
    EXPECT_EQ(stored->pads(), pack->pads());
    EXPECT_TRUE(stored->isImmutable());
    EXPECT_FALSE(stored->copy()->isImmutable());
}

TEST(GivenTheClassesOfPacks, WhenRegisteredThenArchivesFindThemByName) {
    registerContentPackClasses();
    registerContentPackClasses();
    for (const char* name :
         {"PLXContentPack", "PLXSequencerPack", "PLXSamplerPack", "PLXLooperPack", "PLXTrackPack",
          "PLXVisualizerPack", "PLXContentPackMediaItem", "PLXProduct", "PLXSequencerPad",
          "PLXLooperTrack"})
        EXPECT_TRUE(ArchiveClass::named(name)) << name;
}

}  // namespace
}  // namespace qsml
