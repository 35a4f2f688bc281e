#include "store/detail/StoreState.h"
#include "store/detail/testing/PlainSqlite.h"
#include "store/relationships/testing/OpenGraph.h"
#include "testing/failingCalls.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

class GivenAGraphAndTheWorld : public OpenGraph {
protected:
    void SetUp() override {
        OpenGraph::SetUp();
        set("d"), set("x"), set("s", {to("d", 8), to("x", 0, "f")});
        set("list", {to("s", 2), to("x", 0)});
    }
    static constexpr const char* before_ = "list-e>s list-e>x s-e>d s-f>x";
    static constexpr const char* after_ = "list-e>x n-e>absent n-new>x";

    static void change(Writer& t) {
        t.removeObjectForKey("s", "nodes");
        set(t, "n", {to("absent", 0), to("x", 0, "new")});
    }
};

TEST_F(GivenAGraphAndTheWorld, WhenRolledBackThenNothingIsLeft) {
    const auto snapshot = database_->snapshot();
    write([](Writer& t) {
        change(t);
        graphOf(t)->addEdge(to("x", 0, "hand"), {"nodes", "d"});
        EXPECT_TRUE(graphOf(t)->flush());
        t.rollback();
    });
    EXPECT_THROW(write([](Writer& t) {
                     change(t);
                     graphOf(t)->flush();
                     throw std::runtime_error("the block fails");
                 }),
                 std::runtime_error);
    EXPECT_EQ(edges(), before_);
    EXPECT_EQ(keys(), "d list s x");
    EXPECT_EQ(database_->snapshot(), snapshot);
    EXPECT_EQ(faults(), "");
    write(change);
    EXPECT_EQ(edges(), after_);
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAGraphAndTheWorld, WhenTwoConnectionsReadThenEachSeesItsSnapshot) {
    second_ = database_->newConnection();
    second_->beginLongLivedReadTransaction();
    write(change);
    second_->read([](Reader& t) {
        EXPECT_EQ(edges(t), before_);
        EXPECT_EQ(edges(t, {.name = "new"}), "");
    });
    EXPECT_EQ(edges(), after_);
    second_->beginLongLivedReadTransaction();
    second_->read([](Reader& t) { EXPECT_EQ(edges(t, {.name = "new"}), "n-new>x"); });
    EXPECT_TRUE(second_->readWrite([](Writer& t) { set(t, "absent"); }));
    EXPECT_EQ(edges({.destination = {{"nodes", "absent"}}}), "n-e>absent");
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAGraphAndTheWorld, WhenAnotherProcessCommitsThenWhatIsKnownIsReadAgain) {
    EXPECT_EQ(edges({.name = "f"}), "s-f>x");
    const detail::StoreState state{.snapshot = database_->snapshot() + 1, .lastRowNumber = 100};
    EXPECT_EQ(PlainSqlite(path_).query(
                  "BEGIN IMMEDIATE; UPDATE relationship_names SET name='renamed' WHERE name='f';"
                  "INSERT INTO relationship_names(name) VALUES('f'); UPDATE yap SET data='" +
                  state.text() + "' WHERE extension='' AND key='state'; COMMIT"),
              "");
    EXPECT_EQ(edges({.name = "f"}), "");
    EXPECT_EQ(edges({.name = "renamed"}), "s-renamed>x");
}

TEST_F(GivenAGraphAndTheWorld, WhenTablesAreBrokenThenTheCommitSaysSo) {
    PlainSqlite(path_).query("DROP INDEX relationship_incoming; DROP TABLE relationship_edges");
    Error error;
    EXPECT_FALSE(write(change, &error));
    EXPECT_NE(error.description.find(path_), std::string::npos) << error.description;
    EXPECT_NE(error.description.find("relationship_edges"), std::string::npos);
    connection_->read([](Reader& t) {
        Error cause;
        EXPECT_FALSE(graphOf(t)->enumerateEdges(
            {}, [](const auto&, bool&) {}, &cause));
        EXPECT_NE(cause.description.find("relationship_edges"), std::string::npos);
        Error again;
        EXPECT_EQ(graphOf(t)->edgeCount({}, &again), 0u);
        EXPECT_TRUE(again);
    });
    EXPECT_EQ(keys(), "d list s x");
    EXPECT_NE(faults(), "");
}

/// Every call of the system fails in turn: the commit happens as a whole or not at all.
class GivenAFailingFile : public OpenGraph {
protected:
    void SetUp() override {
        files_.skipSyncs();
        options_.vfsName = files_.vfsName();
        options_.pageCacheBytes = 32 << 10;
        OpenGraph::SetUp();
        write([](Writer& t) {
            std::vector<Edge> list;
            for (int i = 0; i < 200; ++i) {
                const std::string key = "item" + std::to_string(i);
                set(t, key, {to("hot", 32), to("absent" + std::to_string(i % 7), 0, "waits")});
                list.push_back(to(key, i % 2 ? 8 : 2));
            }
            set(t, "hot"), set(t, "list", list), set(t, "guard", {to("list", 2)});
        });
        before_ = edges();
        close();
        image_ = contentOf(path_), log_ = contentOf(path_ + "-wal");
    }
    void prepare() {
        close();
        ::unlink((path_ + "-shm").c_str());
        writeFile(path_, image_), writeFile(path_ + "-wal", log_);
        open();
    }
    void operate() {
        claimed_ = write([](Writer& t) {
            t.removeObjectsForKeys({"list", "item3", "item4"}, "nodes");
            for (int i = 0; i < 50; ++i)
                set(t, "new" + std::to_string(i), {to("item" + std::to_string(i), 4, "fresh")});
            set(t, "absent3");
        });
    }
    void verify() {
        const std::string expected = claimed_ ? after_ : before_;
        EXPECT_EQ(edges(), expected);
        set("later", {to("hot")});
        EXPECT_EQ(faults(), "");
        remove({"later"});
        close();
        open();
        EXPECT_EQ(edges(), expected) << "after opening again";
    }

    FaultyFiles files_;
    std::string image_, log_, before_, after_;
    bool claimed_ = false;
};

TEST_F(GivenAFailingFile, WhenAnyCallFailsThenACommitIsWholeOrNothing) {
    prepare();
    operate();
    ASSERT_TRUE(claimed_);
    after_ = edges();
    ASSERT_NE(after_, before_);
    FailingRun run;
    run.prepare = [&] { prepare(); };
    run.operation = [&] { operate(); };
    run.verify = [&] { verify(); };
    for (const auto kind : {FaultyFiles::Kind::ioError, FaultyFiles::Kind::diskFull}) {
        FaultyFiles::Fault fault;
        fault.kind = kind;
        fault.repeat = kind == FaultyFiles::Kind::diskFull ? FaultyFiles::Repeat::forever
                                                           : FaultyFiles::Repeat::once;
        if (kind == FaultyFiles::Kind::diskFull) fault.calls = FileCall::write | FileCall::truncate;
        run.step = testScale(kind == FaultyFiles::Kind::diskFull ? 5 : 23, 1);
        EXPECT_GT(forEachFailingCall(files_, fault, run), 5u);
    }
    close();
}

}  // namespace
}  // namespace qsml
