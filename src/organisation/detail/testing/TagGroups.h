#pragma once
#include <map>
#include <set>

#include "foundation/Bundle.h"
#include "organisation/PLXMediaItemTagGroup.h"
#include "organisation/PLXMediaItemTagGroupSource.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "testing/OpenLibrary.h"

namespace qsml {

/// Name and tags of a group.
struct GroupContent {
    String name;
    std::set<String> tags;
    friend bool operator==(const GroupContent&, const GroupContent&) = default;
};
using GroupContents = std::map<String, GroupContent>;

inline GroupContent contentOf(const PLXMediaItemTagGroup& group) {
    const auto tags = group.tags().value_or(OrderedSet<String>());
    return {group.name(), {tags.begin(), tags.end()}};
}

inline GroupContents contentsOf(const PLXMediaItemTagGroupSource& source) {
    GroupContents contents;
    const auto groups = source.groups();
    for (const auto& [uuid, group] : *groups) contents[uuid] = contentOf(*group);
    return contents;
}

/// What a library holds, by key.
inline GroupContents storedGroups(PLXDatabaseManager& manager) {
    GroupContents contents;
    const auto connection = manager.database()->newConnection();
    EXPECT_TRUE(connection->read([&](YapDatabaseReadTransaction& transaction) {
        for (const String& key : transaction.allKeysInCollection("mediaItemTagGroups")) {
            const auto group = transaction.object<PLXMediaItemTagGroup>(key, "mediaItemTagGroups");
            contents[key] = group ? contentOf(*group) : GroupContent();
        }
    }));
    return contents;
}

/// A library, and in place of the library's own resources a folder of the test's.
class LibraryWithTagGroups : public OpenLibrary {
protected:
    LibraryWithTagGroups() {
        Bundle::library().setResourceURL(URL::fileURLWithPath(resources_.path()));
    }
    ~LibraryWithTagGroups() override { Bundle::library().setResourceURL({}); }

    std::string pathOfDefaults() const {
        return resources_.file("DefaultMediaItemTagGroups.plist");
    }
    /// The elements of the array of default groups.
    void writeDefaults(const std::string& elements) {
        writeFile(pathOfDefaults(), R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0">)"
                                    "<array>" +
                                        elements + "</array></plist>");
    }
    /// One element with the one tag "TAG of UUID".
    static std::string element(const std::string& uuid, const std::string& tag = "tag") {
        return "<dict><key>uuid</key><string>" + uuid + "</string><key>name</key><string>" + uuid +
               "'s</string><key>tags</key><array><string>" + tag + " of " + uuid +
               "</string></array></dict>";
    }
    static GroupContents defaultsOf(const std::set<std::string>& uuids) {
        GroupContents contents;
        for (const std::string& uuid : uuids) contents[uuid] = {uuid + "'s", {"tag of " + uuid}};
        return contents;
    }

    template <class Block>
    void write(Block&& block) {
        ASSERT_TRUE(manager_.database()->newConnection()->readWrite(block));
    }
    void setGroup(const String& uuid, const String& name, const OrderedSet<String>& tags) {
        const auto group = PLXMediaItemTagGroup::initWithUUID(uuid);
        group->setName(name);
        group->setTags(tags);
        write([&](YapDatabaseReadWriteTransaction& transaction) {
            EXPECT_TRUE(transaction.setObject(group, uuid, "mediaItemTagGroups"));
        });
    }
    void removeAllGroups() {
        write([](YapDatabaseReadWriteTransaction& transaction) {
            transaction.removeAllObjectsInCollection("mediaItemTagGroups");
        });
    }

    TemporaryDirectory resources_;
};

}  // namespace qsml
