#pragma once
#include <gtest/gtest.h>

#include <unistd.h>

#include <memory>
#include <string>

#include "store/indexes/testing/Tracks.h"
#include "testing/failingCalls.h"

namespace qsml {

/// Rows, and an index over them, written with each call of the system failing in turn: afterwards
/// both are as before or both as wished; as wished where the caller was told so.
class FailingIndexRun {
public:
    using MakeIndex = std::function<std::shared_ptr<YapDatabaseExtension>()>;
    explicit FailingIndexRun(MakeIndex makeIndex) : makeIndex_(std::move(makeIndex)) {
        files_.skipSyncs();
    }

    void expectAllOrNothingOfFailingWrites() {
        FailingRun run = steps();
        run.operation = [this] { write(); };
        EXPECT_GT(forEachFailingWrite(files_, FaultyFiles::Repeat::forever, run), 5u);
    }
    /// From opening on, so that what is read is not yet in memory.
    void expectAllOrNothingOfAnyFailingCall() {
        FailingRun run = steps();
        run.operation = [this] {
            if (store_->open() && registerIndex()) write();
        };
        EXPECT_GT(forEachFailingCall(files_, FaultyFiles::Fault(), run), 20u);
    }

private:
    FailingRun steps() {
        FailingRun run;
        run.prepare = [this] { prepare(); };
        run.verify = [this] { verify(); };
        return run;
    }
    bool registerIndex() { return store_->database().registerExtension(makeIndex_(), "index"); }
    void prepare() {
        isDone_ = false;
        store_ = std::make_unique<StoreOfTexts>(directory_.file(std::to_string(++runs_) + ".db"));
        store_->options.vfsName = files_.vfsName();
        ASSERT_TRUE(store_->open());
        store_->set("x", "Jeff Mills", "artists");
        store_->set("y", std::string(30'000, 'y'), "artists");  // on pages of its own
        for (const char* key : {"a", "b", "c"}) store_->set(key, "Old;x;1", "tracks");
        ASSERT_TRUE(registerIndex());
    }
    void write() {
        Error error;
        isDone_ = store_->connection().readWrite(
            [](Writer& transaction) {
                transaction.setObject("Renamed", "x", "artists");
                transaction.removeObjectForKey("a", "tracks");
                transaction.setObject("New;y;1", "m", "tracks");
                const std::string text(20'000, 'n');
                for (int i = 0; i < 5; ++i)
                    transaction.setObject(text + ";x;2", "n" + std::to_string(i), "tracks");
            },
            &error);
        EXPECT_EQ(isDone_, !error);
    }
    void verify() {
        ASSERT_TRUE(store_->open());
        ASSERT_TRUE(registerIndex());
        EXPECT_EQ(store_->faults(), "");
        // A sync that fails after all is written leaves a commit that may yet be there.
        const bool isThere = store_->text("x", "artists") == "Renamed";
        EXPECT_TRUE(isThere || !isDone_);
        EXPECT_EQ(store_->text("a", "tracks"), isThere ? "(nil)" : "Old;x;1");
        EXPECT_EQ(store_->text("n4", "tracks") != "(nil)", isThere);
        store_.reset();
    }

    MakeIndex makeIndex_;
    TemporaryDirectory directory_;
    FaultyFiles files_;
    std::unique_ptr<StoreOfTexts> store_;
    std::uint64_t runs_ = 0;
    bool isDone_ = false;
};

}  // namespace qsml
