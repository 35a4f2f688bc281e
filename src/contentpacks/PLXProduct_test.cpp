#include "contentpacks/PLXProduct.h"

#include <gtest/gtest.h>

#include "testing/recordTable.h"

namespace qsml {
namespace {

std::shared_ptr<PLXProduct> filled() {
    auto product = PLXProduct::initWithProductID("com.example.dj", "Computer1,1");
    product->setVersion("5.1");
    product->setDeviceOSVersion("12.4.0");
    product->setFirstUseDate(Date{1.5});
    product->setLastUseDate(Date{2.5});
    product->setUseCount(3);
    return product;
}

TEST(GivenAProduct, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    expectTable<PLXProduct>({{"productID", Takes::text},
                             {"deviceType", Takes::text},
                             {"version", Takes::text},
                             {"deviceOSVersion", Takes::text},
                             {"firstUseDate", Takes::date},
                             {"lastUseDate", Takes::date},
                             {"useCount", Takes::whole, 0}},
                            *filled());
}

TEST(GivenAProductAndADeviceType, WhenARecordIsMadeThenItsUUIDNamesBoth) {
    const auto product = PLXProduct::initWithProductID("com.example.dj", "Computer1,1");
    EXPECT_EQ(product->uuid(), "com.example.dj-Computer1,1");
    EXPECT_EQ(product->productID(), "com.example.dj");
    EXPECT_EQ(product->deviceType(), "Computer1,1");
    EXPECT_EQ(product->useCount(), 0);
    EXPECT_EQ(product->cloudUUID(), "product-com.example.dj-Computer1,1");
    const auto nobody = PLXProduct::initWithProductID(nullptr, nullptr);
    EXPECT_EQ(nobody->uuid(), "(null)-(null)");
    EXPECT_FALSE(nobody->productID());
    EXPECT_EQ(PLXProduct::init()->uuid().size(), 36U);
}

TEST(GivenAProduct, WhenArchivedThenEveryPropertyIsReadBack) {
    const auto product = filled();
    const auto read = recordFrom<PLXProduct>(archiveOf(*product));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->uuid(), product->uuid());
    for (const String& name : product->monitoredProperties())
        EXPECT_EQ(read->valueForKey(name), product->valueForKey(name)) << name;
    EXPECT_EQ(archiveOf(*read), archiveOf(*product));
}

TEST(GivenAProduct, WhenItChangesThenTheCloudValuesBeforeAreKept) {
    EXPECT_TRUE(PLXProduct::classObject().storesOriginalCloudValues());
    EXPECT_FALSE(PLXProduct::classObject().trackUserChangedCloudKeys());
    const auto product = filled();
    product->clearChangedProperties();
    product->setUseCount(4);
    product->setUseCount(5);
    product->setLastUseDate(Date{9});
    EXPECT_EQ(product->originalCloudValues(),
              (Dictionary{{"useCount", 3}, {"lastUseDate", Date{2.5}}}));
    EXPECT_EQ(product->changedCloudProperties(), (KeySet{"lastUseDate", "useCount"}));
}

TEST(GivenAProduct, WhenItsCopyChangesThenItStaysAsItWas) {
    const auto product = filled();
    product->makeImmutable();
    const auto copy = product->copy();
    copy->setUseCount(4);
    EXPECT_EQ(product->useCount(), 3);
    EXPECT_TRUE(copy->isEqual(*product));
    EXPECT_THROW(product->setUseCount(4), PLXDatabaseObjectException);
}

TEST(GivenAProduct, WhenItsArchiveIsDamagedThenItReadsAsOneOrNil) {
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
