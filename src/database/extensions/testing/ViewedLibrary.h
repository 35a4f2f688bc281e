#pragma once
#include "database/extensions/testing/IndexedLibrary.h"
#include "database/extensions/testing/viewGroups.h"

namespace qsml {

/// An open library and what its views show. Rows are stored under their UUIDs. After each test
/// every extension is what a rebuild would make.
class ViewedLibrary : public IndexedLibrary {
protected:
    using Groups = ViewGroups;
    using Keys = std::vector<std::string>;
    using Row = std::shared_ptr<PLXDatabaseObject>;

    Groups shown(std::string_view view) {
        Groups groups;
        manager_.bgDatabaseConnection()->read(
            [&](YapDatabaseReadTransaction& t) { groups = groupsShown(t, view); });
        return groups;
    }
    /// The keys of one group.
    Keys shown(std::string_view view, const std::string& group) { return shown(view)[group]; }

    /// A record with a name, or without.
    template <class Record>
    static std::shared_ptr<Record> named(std::string_view uuid, const String& name) {
        auto made = Record::initWithUUID(uuid);
        made->setName(name);
        return made;
    }
    static std::shared_ptr<PLXMediaItem> track(std::string_view uuid, const String& title) {
        auto made = PLXMediaItem::initWithUUID(uuid);
        made->setTitle(title);
        return made;
    }
    /// One commit.
    void storeAll(std::string_view collection, const std::vector<Row>& rows) {
        write([&](Writer& t) {
            for (const Row& row : rows) EXPECT_TRUE(t.setObject(row, row->uuid(), collection));
        });
    }
    /// One commit that changes a stored record.
    template <class Record>
    void change(std::string_view key, std::string_view collection,
                const std::function<void(Record&)>& edit) {
        write([&](Writer& t) { change<Record>(t, key, collection, edit); });
    }
    template <class Record>
    static void change(Writer& t, std::string_view key, std::string_view collection,
                       const std::function<void(Record&)>& edit) {
        const auto stored = t.object<Record>(key, collection);
        ASSERT_TRUE(stored) << key;
        const auto copy = stored->copy();
        edit(*copy);
        EXPECT_TRUE(t.setObject(copy, key, collection));
    }
    static OrderedSet<String> list(std::initializer_list<String> keys) { return keys; }
};

}  // namespace qsml
