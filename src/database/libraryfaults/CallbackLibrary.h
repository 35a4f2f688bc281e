#pragma once
#include <stdexcept>

#include "database/testing/LibraryWithLists.h"
#include "testing/LogCapture.h"

namespace qsml {

/// A library with lists whose callbacks misbehave. Nothing of it may reach the others: each test
/// ends with a commit that everybody is told of.
class CallbackLibrary : public LibraryWithLists {
protected:
    using Token = PLXDatabaseManager::Token;

    void SetUp() override {
        LibraryWithLists::SetUp();
        fill();
    }
    void TearDown() override {
        writeRow("last");
        settle();
        EXPECT_EQ(manager_.uiDatabaseConnection()->snapshot(), manager_.database()->snapshot());
        Error error;
        const bool isSound = manager_.database()->check(
            [](const YapDatabase::Fault& fault) {
                ADD_FAILURE() << fault.extension << " " << fault.key << ": " << fault.description;
            },
            {}, &error);
        EXPECT_TRUE(isSound) << error.description;
    }
    /// A row that no list shows.
    void writeRow(std::string_view key, std::string_view collection = "rows") {
        write([&](Writer& t) { t.setObject(Value("text"), key, collection); });
    }
    void writeRows(std::initializer_list<std::string_view> keys) {
        write([&](Writer& t) {
            for (const auto key : keys) t.setObject(Value("text"), key, "rows");
        });
    }
    using Action = std::function<void()>;
    /// Observes rows (all, or the one of that key); writes down each call, then acts.
    Token observe(const std::string& name, std::string_view key = {}, Action action = {}) {
        return *manager_.addChangeObserverForCollection(
            "rows", key, [this, name, action](auto, std::string_view changed) {
                calls_.push_back(name + " " + std::string(changed));
                if (action) action();
            });
    }
    static Action throwing(const std::string& text = "broken") {
        return [text] { throw std::runtime_error(text); };
    }
    /// The action on its first call only.
    static Action once(Action action) {
        return [action, isDone = std::make_shared<bool>(false)] {
            if (!std::exchange(*isDone, true)) action();
        };
    }
    NotificationCenter::Token onNotification(std::string_view name, Action action) {
        return NotificationCenter::defaultCenter().addObserver(
            std::string(name), &manager_, [action](const Notification&) { action(); });
    }
    LogCapture log_;
};

}  // namespace qsml
