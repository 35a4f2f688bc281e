#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemUserData.h>
#include <fmt/format.h>

#include <limits>

#include "CommandFailure.h"
#include "musicalKeys.h"
#include "output.h"
#include "printable.h"
#include "tagTexts.h"
#include "trackUserData.h"
#include "userDataCommands.h"

namespace qsml::app {

namespace {

/// A number of the user data that a person may see, set and clear; 0 is "not set" in each.
struct Setting {
    const char* name;
    Value (*value)(const PLXMediaItemUserData&);
    void (*set)(PLXMediaItemUserData&, const Value&);
    /// What the text means, never 0. Throws CommandFailure when it means nothing.
    Value (*read)(const std::string& text);
    std::string (*told)(const Value&);
};

std::string plain(const Value& value) { return fmt::format("{}", value.integerValue()); }

/// Up to nine digits.
Value wholeNumber(const std::string& text) {
    const bool isOne = !text.empty() &&
                       text.size() <= std::numeric_limits<std::int32_t>::digits10 &&
                       text.find_first_not_of("0123456789") == std::string::npos;
    const std::int64_t number = isOne ? std::stoll(text) : 0;
    if (number == 0)
        throw CommandFailure("\"" + text + "\" is no whole number above 0; --clear unsets it");
    return number;
}

Value tempo(const std::string& text) {
    const auto tempo = tempoFromTag(text);
    if (!tempo || *tempo <= 0)
        throw CommandFailure("\"" + text +
                             "\" is no tempo above 0 and below 1000; --clear unsets it");
    return *tempo;
}

/// A name as tags write it, or an index of the table. The first key of the table cannot be set:
/// user data keeps 0 for a key that is not set.
Value key(const std::string& text) {
    const bool isIndex = !text.empty() && text.size() <= 2 &&
                         text.find_first_not_of("0123456789") == std::string::npos;
    const std::int64_t index = isIndex ? std::stoll(text) : musicalKeyIndex(text);
    if (musicalKeyName(index).empty())
        throw CommandFailure("\"" + text +
                             "\" is no musical key; name one as Am, F#, 8A or 1m, or by its index");
    if (index == 0)
        throw CommandFailure(
            "C major cannot be set: user data keeps its index, 0, for \"not set\"; \"--clear\" "
            "unsets the key");
    return index;
}

std::string keyTold(const Value& value) {
    const auto name = musicalKeyName(value.integerValue());
    return name.empty() ? plain(value) : std::string(name);
}

constexpr Setting rating = {
    "rating", [](const PLXMediaItemUserData& data) { return Value(data.rating()); },
    [](PLXMediaItemUserData& data, const Value& value) { data.setRating(value.integerValue()); },
    wholeNumber, plain};
constexpr Setting energy = {
    "energy", [](const PLXMediaItemUserData& data) { return Value(data.energy()); },
    [](PLXMediaItemUserData& data, const Value& value) { data.setEnergy(value.integerValue()); },
    wholeNumber, plain};
constexpr Setting bpm = {
    "manualBPM", [](const PLXMediaItemUserData& data) { return Value(data.manualBPM()); },
    [](PLXMediaItemUserData& data, const Value& value) { data.setManualBPM(value.floatValue()); },
    tempo, [](const Value& value) { return fmt::format("{}", value.floatValue()); }};
constexpr Setting musicalKey = {
    "manualKeySignatureIndex",
    [](const PLXMediaItemUserData& data) { return Value(data.manualKeySignatureIndex()); },
    [](PLXMediaItemUserData& data, const Value& value) {
        data.setManualKeySignatureIndex(value.integerValue());
    },
    key, keyTold};

void tell(const CommonOptions& common, const Setting& setting, const TrackUserData& found) {
    const Value value = found.userData ? setting.value(*found.userData) : Value(0);
    const bool isSet = value.realValue() != 0;
    if (common.asJSON) {
        Dictionary values{{"uuid", found.track->uuid()}, {setting.name, value}};
        if (&setting == &musicalKey && isSet) values.set("musicalKey", keyTold(value));
        putJSON(values);
        return;
    }
    putLine(fmt::format("{}: {} {}", printable(found.track->title()), setting.name,
                        isSet ? setting.told(value) : "not set"));
}

int runSetting(const CommonOptions& common, const Setting& setting, const SettingOptions& options) {
    if (options.clears && !options.value.empty())
        throw CommandFailure("a value and --clear exclude each other; give one of them");
    if (!options.clears && options.value.empty()) {
        tell(common, setting, readUserData(common, options.track));
        return 0;
    }
    const Value value = options.clears ? Value(0) : setting.read(options.value);
    const auto edit = [&](PLXMediaItemUserData& data, YapDatabaseReadWriteTransaction&) {
        const bool isNew = setting.value(data) != value;
        setting.set(data, value);
        return isNew;
    };
    tell(common, setting, editUserData(common, options.track, edit));
    return 0;
}

}  // namespace

int runRate(const CommonOptions& common, const SettingOptions& options) {
    return runSetting(common, rating, options);
}
int runEnergy(const CommonOptions& common, const SettingOptions& options) {
    return runSetting(common, energy, options);
}
int runBPM(const CommonOptions& common, const SettingOptions& options) {
    return runSetting(common, bpm, options);
}
int runKey(const CommonOptions& common, const SettingOptions& options) {
    return runSetting(common, musicalKey, options);
}

int runPlayed(const CommonOptions& common, const std::string& which) {
    const auto edit = [](PLXMediaItemUserData& data, YapDatabaseReadWriteTransaction&) {
        if (data.playCount() == std::numeric_limits<std::uint64_t>::max())
            throw CommandFailure("the play count is at its end and cannot grow");
        data.setPlayCount(data.playCount() + 1);
        return true;
    };
    const auto [track, data] = editUserData(common, which, edit);
    if (common.asJSON)
        putJSON({{"uuid", track->uuid()}, {"playCount", data->playCount()}});
    else
        putLine(fmt::format("{}: played {} times", printable(track->title()),
                            grouped(data->playCount())));
    return 0;
}

}  // namespace qsml::app
