// Tracks with their locations and analysed data, and what the user did with them.
#include "Bench.h"
#include "lines.h"

namespace qsml::bench {
namespace {

void describe(PLXMediaItem& item, const Fields& x, Keys& keys) {
    item.setAddedDate(date(x[6]));
    item.setModifiedDate(date(x[7]));
    item.setReleaseDate(date(x[8]));
    item.setPurchasedDate(date(x[9]));
    item.setYear(integer(x[10]));
    item.setComposer(text(x[11]));
    item.setGrouping(text(x[12]));
    item.setComments(text(x[13]));
    item.setLyrics(text(x[14]));
    item.setAlbumType(integer(x[15]));
    item.setAlbumTrackNumber(integer(x[16]));
    item.setAlbumTrackCount(integer(x[17]));
    item.setAlbumDiscNumber(integer(x[18]));
    item.setAlbumDiscCount(integer(x[19]));
    item.setBpm(single(x[20]));
    item.setExplicitContent(x[21] == "1");
    item.setArtistUUIDs(keys.list(x[22]));
    item.setAlbumUUID(keys(x[23]));
    item.setGenreUUIDs(keys.list(x[24]));
    item.setLabelUUID(keys(x[25]));
    item.setAlbumArtistUUIDs(keys.list(x[26]));
}

std::shared_ptr<PLXMediaItem> track(const Fields& x, Keys& keys) {
    const auto titleID =
        PLXMediaItemTitleID::titleIDWithTitle(text(x[2]), text(x[3]), single(x[4]), text(x[5]));
    titleID->setUuid(keys(x[1]));
    auto item = PLXMediaItem::initWithTitleID(titleID);
    item->setTitle(titleID->title());
    describe(*item, x, keys);
    item->setContentType(text(x[27]));
    item->setDrmProtected(x[28] == "1");
    item->setDuration(titleID->duration());
    item->setChannelCount(integer(x[29]));
    item->setSampleRate(integer(x[30]));
    item->setBitRate(integer(x[31]));
    item->setOriginSourceID(keys(x[32]));
    item->setMusicalKeySignatureIndex(integer(x[33]));
    return item;
}

/// The bytes that stand for a bookmark of that length: some runs of noise among zeros, the same for
/// every program that reads the file.
std::vector<std::uint8_t> bookmark(std::string_view uuid, std::size_t length) {
    std::vector<std::uint8_t> bytes{'b', 'o', 'o', 'k'};
    std::uint64_t noise = 0x9e3779b97f4a7c15u;
    for (const char c : uuid) noise = (noise ^ static_cast<std::uint64_t>(c)) * 1099511628211u;
    while (bytes.size() < length) {
        noise ^= noise << 13;
        noise ^= noise >> 7;
        noise ^= noise << 17;
        const bool isZero = bytes.size() % 3 == 0;
        for (unsigned i = 0; i < 8; ++i)
            bytes.push_back(isZero ? 0 : static_cast<std::uint8_t>(noise >> (8 * i)));
    }
    bytes.resize(length);
    return bytes;
}

std::shared_ptr<PLXMediaItemLocation> location(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID, const Fields& x) {
    auto made = PLXMediaItemLocation::initWithTitleID(titleID, URL::withString(x[34]),
                                                      PLXMediaItemLocationTypeLocal);
    if (const auto length = static_cast<std::size_t>(integer(x[35])); length > 0)
        made->setUrlBookmarkData(Data(bookmark(x[1], length)));
    return made;
}

std::shared_ptr<PLXMediaItemAnalyzedData> analyzedData(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID, const Fields& x) {
    if (x[36].empty()) return nullptr;
    auto made = PLXMediaItemAnalyzedData::initWithTitleID(titleID);
    made->setBpm(single(x[36]));
    made->setKeySignatureIndex(integer(x[37]));
    return made;
}

std::shared_ptr<PLXCuePoint> point(std::string_view time) {
    return time.empty() ? nullptr : PLXCuePoint::initWithNumber(0, single(time), {});
}

void setCues(PLXMediaItemUserData& data, std::string_view cues, std::string_view loops) {
    std::vector<std::shared_ptr<PLXCuePoint>> points;
    for (const auto cue : split(cues, ';')) {
        const Fields y = split(cue, ':');
        points.push_back(PLXCuePoint::initWithNumber(integer(y[0]), single(y[1]),
                                                     y.size() > 2 ? text(y[2]) : String()));
    }
    if (!points.empty()) data.setCuePoints(points);
    std::vector<std::shared_ptr<PLXLoopRegion>> regions;
    for (const auto loop : split(loops, ';')) {
        const Fields y = split(loop, ':');
        regions.push_back(PLXLoopRegion::initWithNumber(integer(y[0]), single(y[1]), single(y[2]),
                                                        y.size() > 3 ? text(y[3]) : String()));
    }
    if (!regions.empty()) data.setLoopRegions(regions);
}

}  // namespace

void addTrack(Loading& loading, const Fields& x) {
    DataSet& set = loading.set;
    const auto item = track(x, loading.keys);
    const auto& titleID = item->titleID();
    set.trackAt.emplace(item->uuid(), set.tracks.size());
    set.locations.push_back(location(titleID, x));
    set.analyzedData.push_back(analyzedData(titleID, x));
    set.tracks.push_back(item);
}

void addUserData(Loading& loading, const Fields& x) {
    DataSet& set = loading.set;
    auto data = PLXMediaItemUserData::initWithTitleID(set.track(x[1])->titleID());
    data->setStartPoint(point(x[2]));
    data->setEndPoint(point(x[3]));
    data->setAutomixStartPoint(point(x[4]));
    data->setAutomixEndPoint(point(x[5]));
    setCues(*data, x[6], x[7]);
    data->setHighEQ(single(x[8]));
    data->setMidEQ(single(x[9]));
    data->setLowEQ(single(x[10]));
    data->setManualBPM(single(x[11]));
    data->setManualBeatTime(single(x[12]));
    data->setManualKeySignatureIndex(integer(x[13]));
    data->setRating(integer(x[14]));
    data->setEnergy(integer(x[15]));
    data->setPlayCount(static_cast<std::uint64_t>(integer(x[16])));
    data->setTagUUIDs(x.size() > 17 ? loading.keys.list(x[17]) : std::nullopt);
    set.userDataAt.emplace(data->uuid(), set.userData.size());
    set.userData.push_back(std::move(data));
}

}  // namespace qsml::bench
