#pragma once
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "testing/TemporaryDirectory.h"

namespace qsml {

/// Stores texts as their bytes, and nothing else: damage that the bytes do not show is for the
/// store to see.
YapDatabaseObjectCallbacks plainTexts();

/// A pool of threads that a test owns and can wait for. Thread-safe.
class TestExecutor final : public Executor {
public:
    TestExecutor();
    ~TestExecutor() override;
    void post(std::function<void()> block) override;
    /// Returns when no block runs or waits.
    void waitUntilIdle();

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// A store of texts in a temporary folder, with an executor and a notification queue of its own.
class StoreOfTexts {
public:
    explicit StoreOfTexts(std::string path);
    ~StoreOfTexts();
    StoreOfTexts(const StoreOfTexts&) = delete;
    StoreOfTexts& operator=(const StoreOfTexts&) = delete;

    /// What open() uses; tests change it before.
    YapDatabaseOptions options;

    const std::string& path() const { return path_; }
    /// Opens the file, closing it first when it is open. False with the error when that fails.
    bool open(Error* error = nullptr);
    /// Lets go of the database and waits for what runs in the background.
    void close();
    /// Waits for background work and runs the notifications that wait.
    void drain();

    YapDatabase& database() { return *database_; }
    bool isOpen() const { return database_ != nullptr; }
    YapDatabaseConnection& connection() { return *connection_; }

    bool set(std::string_view key, std::string_view text, std::string_view collection = "texts",
             Error* error = nullptr);
    /// "(nil)" when the row reads as absent, "(error)" when the transaction failed.
    std::string text(std::string_view key, std::string_view collection = "texts");
    /// What check() finds, one line for each fault; empty when the store is sound.
    std::string faults();

private:
    std::string path_;
    std::shared_ptr<TestExecutor> executor_ = std::make_shared<TestExecutor>();
    DispatchQueue queue_{"notifications of a test", executor_};
    std::shared_ptr<YapDatabase> database_;
    std::shared_ptr<YapDatabaseConnection> connection_;
};

/// The fixture: one such store, open.
class OpenStore : public ::testing::Test {
protected:
    void SetUp() override {
        Error error;
        ASSERT_TRUE(store_.open(&error)) << error.description;
    }
    void TearDown() override { store_.close(); }

    TemporaryDirectory directory_;
    StoreOfTexts store_{directory_.file("store.db")};
};

}  // namespace qsml
