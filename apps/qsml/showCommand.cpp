#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemTag.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemAnalyzedData.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemLocation.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemUserData.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemUserDataSource.h>

#include "findTrack.h"
#include "libraryTransactions.h"
#include "musicalKeys.h"
#include "output.h"
#include "printable.h"
#include "recordValues.h"
#include "trackLocations.h"

namespace qsml::app {

namespace {

std::string textOf(const Value& value);

/// On one line: "number: 1, time: 12.5".
std::string textOf(const Dictionary& values) {
    std::string all;
    for (const auto& [key, value] : values)
        if (!value.isNil())
            all += (all.empty() ? "" : ", ") + key.string().str() + ": " + textOf(value);
    return all;
}

std::string textOf(const Value& value) {
    if (value.kind() == Value::Kind::dictionary) return textOf(value.dictionary());
    if (value.kind() == Value::Kind::string) return printable(value.string());
    if (value.kind() == Value::Kind::date) return iso8601(*value.date()).str();
    if (!value.isCollection()) return printableJSON(value);
    std::string all;
    for (const Value& element : value.elements())
        all += (all.empty() ? "" : ", ") + textOf(element);
    return all;
}

bool isListOfDictionaries(const Value& value) {
    return value.isCollection() && !value.elements().empty() &&
           value.elements().front().kind() == Value::Kind::dictionary;
}

void putText(const Dictionary& values, const std::string& indent = "") {
    constexpr std::size_t width = 26;
    for (const auto& [key, value] : values) {
        if (value.kind() == Value::Kind::dictionary) {
            putLine(indent + key.string().str());
            putText(value.dictionary(), indent + "  ");
        } else if (isListOfDictionaries(value)) {
            for (const Value& element : value.elements())
                putLine(fitted(indent + key.string().str(), width) + textOf(element));
        } else if (!value.isNil()) {
            putLine(fitted(indent + key.string().str(), width) + textOf(value));
        }
    }
}

/// What the user has set up, with the texts of the tags. What is found for the ISRC counts too.
void addUserData(const PLXMediaItem& track, YapDatabaseReadTransaction& transaction,
                 Dictionary& values) {
    const auto data = PLXMediaItemUserDataSource::sharedInstance().mediaItemUserDataForTitleID(
        track.titleID(), transaction);
    if (!data) return;
    Dictionary userData = valuesOf(*data);
    Value::Array tags;
    for (const String& uuid : data->tagUUIDs().value_or(OrderedSet<String>()))
        if (const auto tag =
                transaction.object<PLXMediaItemTag>(uuid, PLXDatabaseCollectionMediaItemTags))
            tags.emplace_back(tag->value());
    if (!tags.empty()) userData.set("tags", std::move(tags));
    if (data->manualKeySignatureIndex() != 0)
        userData.set("manualKey", musicalKeyName(data->manualKeySignatureIndex()));
    values.set("userData", userData);
}

void addAnalyzedData(const PLXMediaItem& track, const YapDatabaseReadTransaction& transaction,
                     Dictionary& values) {
    const auto data = transaction.object<PLXMediaItemAnalyzedData>(
        track.uuid(), PLXDatabaseCollectionMediaItemAnalyzedData);
    if (data) values.set("analyzedData", valuesOf(*data));
}

}  // namespace

int runShow(const CommonOptions& common, const std::string& which) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        const auto track = findTrack(which, transaction);
        Dictionary values = valuesOf(*track, transaction);
        addUserData(*track, transaction, values);
        addAnalyzedData(*track, transaction, values);
        Value::Array locations;
        for (const auto& location : locationsOf(*track, transaction))
            locations.emplace_back(valuesOf(*location));
        if (!locations.empty()) values.set("locations", std::move(locations));
        if (common.asJSON)
            putJSON(values);
        else
            putText(values);
    });
    return 0;
}

}  // namespace qsml::app
