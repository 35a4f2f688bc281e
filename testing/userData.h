#pragma once
#include <rapidcheck.h>

#include <string>

#include "tracks/PLXMediaItemUserData.h"

namespace qsml {

using CuePoints = std::vector<std::shared_ptr<PLXCuePoint>>;
using LoopRegions = std::vector<std::shared_ptr<PLXLoopRegion>>;
using TitleIDs = std::vector<std::shared_ptr<PLXMediaItemTitleID>>;

/// A record with something in every property.
inline std::shared_ptr<PLXMediaItemUserData> filledUserData() {
    auto made = PLXMediaItemUserData::initWithTitleID(
        PLXMediaItemTitleID::initWithTitle("Night Drive", "The Examples", 449.6F, "ISRC"));
    made->setStartPoint(PLXCuePoint::initWithNumber(1, 0.5F, "start"));
    made->setEndPoint(PLXCuePoint::initWithNumber(2, 440.25F, nullptr));
    made->setAutomixStartPoint(PLXCuePoint::initWithNumber(3, 8.1F, "in"));
    made->setAutomixEndPoint(PLXCuePoint::initWithNumber(4, 420, "out"));
    made->setCuePoints(CuePoints{PLXCuePoint::initWithNumber(0, 12.5F, "drop"),
                                 PLXCuePoint::initWithNumber(7, 100.1F, nullptr)});
    made->setLoopRegions(LoopRegions{PLXLoopRegion::initWithNumber(1, 16, 32, "hook"),
                                     PLXLoopRegion::initWithNumber(2, 64, 65.5F, nullptr)});
    made->setHighEQ(0.1F);
    made->setMidEQ(-0.2F);
    made->setLowEQ(0.3F);
    made->setManualBPM(127.3F);
    made->setManualBeatTime(0.25F);
    made->setManualKeySignatureIndex(5);
    made->setManualFirstDownBeatIndices(Value::Array{1, 2});
    made->setManualGridStartPoints(Value::Array{0.5, 60.25});
    made->setRating(4);
    made->setEnergy(6);
    made->setPlayCount(12);
    made->setTagUUIDs(OrderedSet<String>{"tag-2", "tag-1"});
    made->setLinkedUserDataUUIDs(OrderedSet<String>{"link-2", "link-1"});
    return made;
}

inline rc::Gen<String> anyComment() {
    return rc::gen::map(
        rc::gen::element<std::string>("", "intro", "a \"b\" \\ /", "Caf\u00e9 \U0001F3A7",
                                      "line\nline"),
        [](const std::string& text) { return text.empty() ? String() : String(text); });
}

/// Its number is one of few, so that lists have repeats and meet each other.
inline std::shared_ptr<PLXCuePoint> anyCuePoint() {
    return PLXCuePoint::initWithNumber(*rc::gen::inRange<std::int64_t>(-3, 6),
                                       *rc::gen::arbitrary<float>(), *anyComment());
}

inline std::shared_ptr<PLXLoopRegion> anyLoopRegion() {
    return PLXLoopRegion::initWithNumber(*rc::gen::inRange<std::int64_t>(-3, 6),
                                         *rc::gen::arbitrary<float>(), *rc::gen::arbitrary<float>(),
                                         *anyComment());
}

inline std::shared_ptr<PLXMediaItemTitleID> anyTitleID() {
    auto made = PLXMediaItemTitleID::initWithTitle(
        *rc::gen::element<std::string>("Night Drive", "Song", "Third"),
        *rc::gen::element<std::string>("The Examples", "Band"),
        static_cast<float>(*rc::gen::inRange(0, 3)), nullptr);
    if (*rc::gen::arbitrary<bool>()) made->setInternalID("internal");
    return made;
}

namespace detail {

inline bool byChance() { return *rc::gen::arbitrary<bool>(); }

/// Nil, or a list of up to four.
template <class Element, class Make>
CopiedArray<Element> anyList(Make make) {
    if (byChance()) return std::nullopt;
    std::vector<std::shared_ptr<Element>> made;
    for (int left = *rc::gen::inRange(0, 5); left > 0; --left) made.push_back(make());
    return made;
}

inline float anySetting() { return *rc::gen::element(0.0F, -0.0F, 0.5F, -1.0F, 128.0F); }

inline std::optional<OrderedSet<String>> anyKeys() {
    if (byChance()) return std::nullopt;
    const auto keys = *rc::gen::container<std::vector<std::string>>(
        rc::gen::element<std::string>("a", "b", "c", "d"));
    return OrderedSet<String>(std::vector<String>(keys.begin(), keys.end()));
}

inline std::optional<Value::Array> anyNumbers() {
    if (byChance()) return std::nullopt;
    const auto numbers = *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 9));
    return Value::Array(numbers.begin(), numbers.end());
}

}  // namespace detail

/// A record in which every property is set or not, by chance.
inline std::shared_ptr<PLXMediaItemUserData> anyUserData() {
    using namespace detail;
    auto made = PLXMediaItemUserData::initWithUUID("track");
    if (byChance()) made->setTitleIDs(anyList<PLXMediaItemTitleID>(anyTitleID));
    if (byChance()) made->setStartPoint(anyCuePoint());
    if (byChance()) made->setEndPoint(anyCuePoint());
    if (byChance()) made->setAutomixStartPoint(anyCuePoint());
    if (byChance()) made->setAutomixEndPoint(anyCuePoint());
    made->setCuePoints(anyList<PLXCuePoint>(anyCuePoint));
    made->setLoopRegions(anyList<PLXLoopRegion>(anyLoopRegion));
    made->setHighEQ(anySetting());
    made->setMidEQ(anySetting());
    made->setLowEQ(anySetting());
    made->setManualBPM(anySetting());
    made->setManualBeatTime(anySetting());
    made->setManualKeySignatureIndex(*rc::gen::inRange<std::int64_t>(0, 3));
    made->setManualFirstDownBeatIndices(anyNumbers());
    made->setManualGridStartPoints(anyNumbers());
    made->setRating(*rc::gen::inRange<std::int64_t>(0, 3));
    made->setEnergy(*rc::gen::inRange<std::int64_t>(0, 3));
    made->setPlayCount(*rc::gen::inRange<std::uint64_t>(0, 1000));
    made->setTagUUIDs(anyKeys());
    made->setLinkedUserDataUUIDs(anyKeys());
    return made;
}

}  // namespace qsml
