#pragma once
#include "store/views/YapDatabaseViewTransaction.h"
#include "store/views/testing/ViewHistory.h"

namespace qsml {

/// A store with the views of registerViews().
class OpenViews : public OpenStore {
protected:
    void SetUp() override {
        store_.options.synchronous = YapDatabaseSynchronous::normal;
        OpenStore::SetUp();
        registerViews(store_.database());
    }
    /// One commit.
    void write(const std::function<void(Writer&)>& block) {
        EXPECT_TRUE(store_.connection().readWrite(block));
    }
    /// Texts "GENRE|TITLE", each in one commit.
    void song(std::string_view key, std::string_view text) {
        EXPECT_TRUE(store_.set(key, text, "songs"));
    }
    void read(const std::function<void(Reader&)>& block) {
        EXPECT_TRUE(store_.connection().read(block));
    }
    Groups shown(std::string_view view) {
        Groups groups;
        read([&](Reader& t) { groups = shownBy(t, view); });
        return groups;
    }
    std::uint64_t snapshot() { return store_.database().snapshot(); }
};

}  // namespace qsml
