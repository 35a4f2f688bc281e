#include <QSMediaLibraryData/database/PLXDatabaseManager.h>
#include <QSMediaLibraryData/foundation/text.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemTag.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemTagGroup.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemTagGroupSource.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemUserData.h>
#include <fmt/format.h>

#include <algorithm>

#include "CommandFailure.h"
#include "libraryTransactions.h"
#include "output.h"
#include "printable.h"
#include "recordValues.h"
#include "trackUserData.h"
#include "userDataCommands.h"

namespace qsml::app {

namespace {

/// A tag on its way to or from a track. The group is nil where no group has the text.
struct Tag {
    String uuid, text, group;
};

bool isSame(const String& a, const String& b) { return localizedCaseInsensitiveCompare(a, b) == 0; }

/// The text as a group has it, exactly or else in another letter case; nil where none does.
Tag tagOfGroups(const String& text, const std::string& groupName,
                const PLXMediaItemTagGroupSource::Groups& groups) {
    Tag found;
    for (const auto& [uuid, group] : groups) {
        const bool isAsked = groupName.empty() || isSame(group->name(), groupName);
        if (!isAsked || !group->tags()) continue;
        for (const String& tag : *group->tags()) {
            if (tag == text) return {{}, tag, group->name()};
            if (!found.text && isSame(tag, text)) found = {{}, tag, group->name()};
        }
    }
    return found;
}

[[noreturn]] void failWithoutTag(const String& text, const std::string& groupName,
                                 const PLXMediaItemTagGroupSource::Groups& groups) {
    for (const auto& [uuid, group] : groups)
        if (isSame(group->name(), groupName))
            throw CommandFailure(fmt::format(
                "the group \"{}\" has no tag \"{}\"; \"qsml tag-groups\" lists what it has",
                group->name().view(), text.view()));
    throw CommandFailure("there is no tag group \"" + groupName +
                         "\"; \"qsml tag-groups\" lists them");
}

Tag chosenTag(const std::string& typed, const std::string& groupName,
              const PLXMediaItemTagGroupSource::Groups& groups) {
    const String text = typedText(typed, "tag");
    if (!text) throw CommandFailure("a tag of blanks is none; \"qsml tag-groups\" lists some");
    Tag tag = tagOfGroups(text, groupName, groups);
    if (!tag.text && !groupName.empty()) failWithoutTag(text, groupName, groups);
    if (!tag.text) tag.text = text;  // any text may be one
    tag.uuid = PLXMediaItemTag::initWithValue(tag.text)->uuid();
    return tag;
}

void tell(const CommonOptions& common, const char* what, const PLXMediaItem& track,
          const std::vector<Tag>& tags) {
    for (const Tag& tag : tags) {
        if (common.asJSON) {
            putJSON({{"uuid", track.uuid()},
                     {"tagUUID", tag.uuid},
                     {"tag", tag.text},
                     {"group", tag.group}});
            continue;
        }
        const std::string group = tag.group ? " (" + printable(tag.group) + ")" : "";
        putLine(fmt::format("{}: {} {}{}", printable(track.title()), what,
                            tag.text ? printable(tag.text) : "a tag without a text", group));
    }
}

std::vector<String> tagUUIDsOf(const PLXMediaItemUserData* data) {
    return data && data->tagUUIDs() ? data->tagUUIDs()->elements() : std::vector<String>();
}

void setTagUUIDs(PLXMediaItemUserData& data, std::vector<String> uuids) {
    if (uuids.empty())
        data.setTagUUIDs(std::nullopt);
    else
        data.setTagUUIDs(OrderedSet<String>(std::move(uuids)));
}

void storeTag(const Tag& tag, YapDatabaseReadWriteTransaction& transaction) {
    constexpr auto collection = PLXDatabaseCollectionMediaItemTags;
    if (transaction.hasObjectForKey(tag.uuid, collection)) return;
    if (!transaction.setObject(PLXMediaItemTag::initWithValue(tag.text), tag.uuid, collection))
        throw CommandFailure("cannot store the tag; the library is as it was");
}

/// By text, those without one last.
std::vector<Tag> tagsOf(const PLXMediaItemUserData* data,
                        const YapDatabaseReadTransaction& transaction) {
    std::vector<Tag> tags;
    PLXMediaItemTagGroupSource::Groups groups;
    transaction.enumerateKeysAndObjectsInCollection(
        PLXDatabaseCollectionMediaItemTagGroups,
        [&](std::string_view key, const Value& object, bool&) {
            if (auto group = std::dynamic_pointer_cast<const PLXMediaItemTagGroup>(object.object()))
                groups.emplace(key, std::move(group));
        });
    for (const String& uuid : tagUUIDsOf(data)) {
        const auto tag =
            transaction.object<PLXMediaItemTag>(uuid, PLXDatabaseCollectionMediaItemTags);
        const String text = tag ? tag->value() : String();
        tags.push_back({uuid, text, text ? tagOfGroups(text, "", groups).group : String()});
    }
    std::sort(tags.begin(), tags.end(), [](const Tag& a, const Tag& b) {
        if (a.text.has_value() != b.text.has_value()) return a.text.has_value();
        const int order = localizedCaseInsensitiveCompare(a.text, b.text);
        return order != 0 ? order < 0 : a.uuid < b.uuid;
    });
    return tags;
}

}  // namespace

int runTagAdd(const CommonOptions& common, const TagOptionsOfTrack& options) {
    const auto connection = openLibrary(libraryPath(common.library), Opening::existing);
    // A library that has no groups yet gets the default ones.
    const PLXMediaItemTagGroupSource source(PLXDatabaseManager::sharedManager());
    const auto groups = source.groups();
    std::vector<Tag> tags;
    for (const std::string& typed : options.tags)
        tags.push_back(chosenTag(typed, options.group, *groups));
    const auto edit = [&](PLXMediaItemUserData& data,
                          YapDatabaseReadWriteTransaction& transaction) {
        auto uuids = tagUUIDsOf(&data);
        const std::size_t before = uuids.size();
        for (const Tag& tag : tags) {
            storeTag(tag, transaction);
            if (std::find(uuids.begin(), uuids.end(), tag.uuid) == uuids.end())
                uuids.push_back(tag.uuid);
        }
        const bool isChanged = uuids.size() > before;
        setTagUUIDs(data, std::move(uuids));
        return isChanged;
    };
    const auto [track, data] = editUserData(connection, options.track, edit);
    tell(common, "is tagged", *track, tags);
    return 0;
}

int runTagRemove(const CommonOptions& common, const TagOptionsOfTrack& options) {
    std::vector<Tag> removed;
    const auto edit = [&](PLXMediaItemUserData& data,
                          YapDatabaseReadWriteTransaction& transaction) {
        auto uuids = tagUUIDsOf(&data);
        const auto all = tagsOf(&data, transaction);
        removed.clear();
        for (const std::string& typed : options.tags) {
            const String text = typedText(typed, "tag");
            const auto isIt = [&](const Tag& tag) { return tag.text && tag.text == text; };
            const auto isAlike = [&](const Tag& tag) { return tag.text && isSame(tag.text, text); };
            auto found = std::find_if(all.begin(), all.end(), isIt);
            if (found == all.end()) found = std::find_if(all.begin(), all.end(), isAlike);
            if (found == all.end())
                throw CommandFailure("the track has no tag \"" + typed +
                                     "\"; \"qsml tag list\" shows what it has");
            if (std::erase(uuids, found->uuid) > 0) removed.push_back(*found);
        }
        setTagUUIDs(data, std::move(uuids));
        return true;
    };
    const auto [track, data] = editUserData(common, options.track, edit);
    tell(common, "is no longer tagged", *track, removed);
    return 0;
}

int runTagList(const CommonOptions& common, const TagOptionsOfTrack& options) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        const auto [track, data] = userDataOfTrack(options.track, transaction);
        tell(common, "is tagged", *track, tagsOf(data.get(), transaction));
    });
    return 0;
}

}  // namespace qsml::app
