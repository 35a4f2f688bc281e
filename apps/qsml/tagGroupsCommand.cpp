#include <QSMediaLibraryData/database/PLXDatabaseManager.h>
#include <QSMediaLibraryData/foundation/text.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemTagGroup.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemTagGroupSource.h>

#include <algorithm>

#include "CommandFailure.h"
#include "commands.h"
#include "output.h"
#include "printable.h"

namespace qsml::app {

namespace {

bool isBefore(const String& a, const String& b) {
    const int order = localizedCaseInsensitiveCompare(a, b);
    return order != 0 ? order < 0 : a < b;
}

struct Group {
    String uuid, name;
    std::vector<String> tags;
};

std::vector<Group> sortedGroups(const PLXMediaItemTagGroupSource& source) {
    std::vector<Group> all;
    const auto groups = source.groups();
    for (const auto& [uuid, group] : *groups) {
        all.push_back({uuid, group->name(), {}});
        if (group->tags()) all.back().tags = group->tags()->list();
        std::sort(all.back().tags.begin(), all.back().tags.end(), isBefore);
    }
    std::sort(all.begin(), all.end(),
              [](const Group& a, const Group& b) { return isBefore(a.name, b.name); });
    return all;
}

void put(const Group& group, bool asJSON) {
    if (asJSON) {
        putJSON({{"uuid", group.uuid},
                 {"name", group.name},
                 {"tags", Value(Value::Array(group.tags.begin(), group.tags.end()))}});
        return;
    }
    std::string tags;
    for (const String& tag : group.tags) tags += (tags.empty() ? "" : ", ") + printable(tag);
    putLine(printable(group.name) + ": " + tags);
}

}  // namespace

int runTagGroups(const CommonOptions& common) {
    (void)openLibrary(libraryPath(common.library), Opening::orNew);
    PLXMediaItemTagGroupSource source(PLXDatabaseManager::sharedManager());
    if (source.groups()->empty() && !source.setupGroups())
        throw CommandFailure("cannot read or store the tag groups; \"qsml check\" tells more");
    for (const Group& group : sortedGroups(source)) put(group, common.asJSON);
    return 0;
}

}  // namespace qsml::app
