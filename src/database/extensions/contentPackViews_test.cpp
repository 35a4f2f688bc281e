#include <gtest/gtest.h>

#include "contentpacks/PLXContentPackMediaItem.h"
#include "contentpacks/PLXLooperPack.h"
#include "contentpacks/PLXSamplerPack.h"
#include "contentpacks/PLXTrackPack.h"
#include "contentpacks/PLXVisualizerPack.h"
#include "database/extensions/testing/ViewedLibrary.h"
#include "foundation/text.h"

namespace qsml {
namespace {

constexpr std::string_view packs = "contentPacks", userPacks = "userContentPacks";
constexpr const char* packViews[] = {"contentPacksView", "installedContentPacksView",
                                     "userContentPacksView", "allAvailableContentPacksView",
                                     "allInstalledContentPacksView"};

template <class Pack = PLXLooperPack>
std::shared_ptr<Pack> pack(std::string_view uuid, std::int64_t sortOrder = 0,
                           const String& name = {}) {
    auto made = Pack::initWithUUID(uuid);
    made->setSortOrder(sortOrder);
    made->setName(name);
    made->setState(PLXContentPack::stateInstalled);
    return made;
}

class GivenViewsOfPacks : public ViewedLibrary {
protected:
    GivenViewsOfPacks() { setCurrentLocale("en_US"); }
    ~GivenViewsOfPacks() override { setCurrentLocale(""); }
};

TEST_F(GivenViewsOfPacks, WhenPacksAreOfDifferentKindsThenTheKindIsTheGroup) {
    const std::vector<Row> rows{pack<PLXLooperPack>("l"),        pack<PLXVisualizerPack>("v"),
                                pack<PLXSamplerPack>("s"),       pack<PLXTrackPack>("t"),
                                pack<PLXContentPack>("no kind"), pack<PLXSequencerPack>("pads"),
                                track("title", "Title")};
    const Groups kinds{
        {"looper", {"l"}}, {"visualizer", {"v"}}, {"sampler", {"s"}}, {"track", {"t"}}};
    storeAll(packs, rows);
    for (const char* view : packViews)
        EXPECT_EQ(shown(view), view == std::string("userContentPacksView") ? Groups() : kinds)
            << view;
    write([](Writer& t) { t.removeAllObjectsInCollection(packs); });
    storeAll(userPacks, rows);
    for (const std::string view : packViews)
        EXPECT_EQ(shown(view), view == "contentPacksView" || view == "installedContentPacksView"
                                   ? Groups()
                                   : kinds)
            << view;
}

TEST_F(GivenViewsOfPacks, WhenPacksLieInOtherCollectionsThenNoViewShowsThem) {
    storeAll("contentPackMediaItems", {pack("a")});
    storeAll("userContentPackMediaItems", {pack("b")});
    storeAll("products", {pack("c")});
    for (const char* view : packViews) EXPECT_EQ(shown(view), Groups()) << view;
    EXPECT_EQ(shown("contentPackMediaItemsView"), Groups());
    EXPECT_EQ(shown("userContentPackMediaItemsView"), Groups());
}

/// A pack of an owner in a state, and which of the views show it in the catalogue.
struct Shown {
    std::int64_t owner, state;
    bool installed, available, ownOrInstalled;
};

TEST_F(GivenViewsOfPacks, WhenOwnersAndStatesDifferThenTheViewsShowThoseTheyAreFor) {
    const Shown table[] = {
        {0, 0, false, false, false}, {0, 1, false, true, false}, {0, 2, false, true, false},
        {0, 3, true, true, true},    {0, 4, false, true, false}, {0, -1, false, true, false},
        {1, 0, false, true, true},   {1, 1, false, true, true},  {1, 3, true, true, true},
        {2, 0, false, true, true},   {-1, 0, false, true, true}};
    for (const std::string_view collection : {packs, userPacks}) {
        for (const Shown& one : table) {
            const auto made = pack("p");
            made->setOwner(one.owner);
            made->setState(one.state);
            storeAll(collection, {made});
            SCOPED_TRACE(std::string(collection) + " owner " + std::to_string(one.owner) +
                         " state " + std::to_string(one.state));
            const bool isUsers = collection == userPacks;
            const auto shows = [&](const char* view) { return !shown(view).empty(); };
            EXPECT_EQ(shows("contentPacksView"), !isUsers);
            EXPECT_EQ(shows("installedContentPacksView"), !isUsers && one.installed);
            EXPECT_EQ(shows("userContentPacksView"), isUsers);
            EXPECT_EQ(shows("allAvailableContentPacksView"), one.available);
            EXPECT_EQ(shows("allInstalledContentPacksView"), one.ownOrInstalled);
        }
        remove("p", collection);
    }
}

TEST_F(GivenViewsOfPacks, WhenPacksHavePlacesInTheCatalogueThenTheyStandByThoseThenByName) {
    const std::vector<Row> rows{pack("10", 10, "b"),        pack("9", 9, "z"),
                                pack("minus", -1, "z"),     pack("nameless", 9, nullptr),
                                pack("10A", 10, "A"),       pack("10a", 10, "a"),
                                pack("10e", 10, "Écho"),    pack("10f", 10, "f"),
                                pack("low", INT64_MIN, ""), pack("high", INT64_MAX, "")};
    const Keys inOrder{"low", "minus", "9", "nameless", "10A", "10a", "10", "10e", "10f", "high"};
    storeAll(packs, rows);
    for (const std::string view : packViews) {
        if (view == "userContentPacksView") continue;
        EXPECT_EQ(shown(view), (Groups{{"looper", inOrder}})) << view;
    }
    storeAll(userPacks, rows);
    EXPECT_EQ(shown("userContentPacksView"), (Groups{{"looper", inOrder}}));
    change<PLXLooperPack>("10", packs, [](auto& made) { made.setSortOrder(-2); });
    EXPECT_EQ(shown("contentPacksView", "looper")[1], "10");
}

TEST_F(GivenViewsOfPacks, WhenPacksOfBothCollectionsAreShownThenTheyAreOneList) {
    storeAll(packs, {pack("a", 1), pack("c", 3)});
    storeAll(userPacks, {pack("b", 2), pack("d", 0)});
    for (const char* view : {"allAvailableContentPacksView", "allInstalledContentPacksView"})
        EXPECT_EQ(shown(view), (Groups{{"looper", {"d", "a", "b", "c"}}})) << view;
}

TEST_F(GivenViewsOfPacks, WhenAPackIsInstalledAndRemovedThenTheViewsFollow) {
    auto made = pack("p");
    made->setState(0);
    storeAll(packs, {made});
    const auto setState = [&](std::int64_t state) {
        change<PLXLooperPack>("p", packs, [&](auto& changed) { changed.setState(state); });
        Keys shownBy;
        for (const char* view : packViews)
            if (!shown(view).empty()) shownBy.emplace_back(view);
        return shownBy.size();
    };
    EXPECT_EQ(setState(2), 2u);
    EXPECT_EQ(setState(3), 4u);
    EXPECT_EQ(setState(0), 1u);
}

std::shared_ptr<PLXContentPackMediaItem> file(std::string_view uuid, const String& name,
                                              const String& packUUID) {
    auto made = PLXContentPackMediaItem::initWithUUID(uuid);
    made->setName(name);
    made->setContentPackUUID(packUUID);
    return made;
}

TEST_F(GivenViewsOfPacks, WhenFilesOfPacksAreStoredThenThePackIsTheGroupAndTheNameTheOrder) {
    storeAll("contentPackMediaItems",
             {file("1", "zulu", "p"), file("2", "Écho", "p"), file("3", "echo", "p"),
              file("4", nullptr, "p"), file("5", "FIRE", "p"), file("6", "a", "q"),
              file("7", "a", nullptr)});
    EXPECT_EQ(shown("contentPackMediaItemsView"),
              (Groups{{"p", {"3", "2", "5", "1", "4"}}, {"q", {"6"}}}));
    EXPECT_EQ(shown("userContentPackMediaItemsView"), Groups());
}

TEST_F(GivenViewsOfPacks, WhenFilesOfTheUserAreStoredThenTheyAreOneGroupInTheOrderOfNames) {
    storeAll("userContentPackMediaItems",
             {file("1", "zulu", "p"), file("2", "Écho", "q"), file("3", "echo", nullptr),
              file("4", nullptr, "p"), file("5", "FIRE", "q")});
    EXPECT_EQ(shown("userContentPackMediaItemsView"),
              (Groups{{"contentPackMediaItem", {"3", "2", "5", "1", "4"}}}));
    EXPECT_EQ(shown("contentPackMediaItemsView"), Groups());
}

}  // namespace
}  // namespace qsml
