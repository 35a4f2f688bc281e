// Observers that add, remove, write and throw at random while they are called, against a model of
// who is to be told of what.
#include <gtest/gtest.h>

#include <deque>
#include <random>

#include "database/libraryfaults/CallbackLibrary.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

using Key = std::string;
using Calls = std::vector<std::string>;
using Commit = std::vector<Key>;

/// What a schedule does to a world: to a library, or to the model of one.
class World {
public:
    virtual ~World() = default;
    virtual void add(int observer, const Key& key) = 0;  ///< an empty key: every row
    virtual void remove(int observer) = 0;
    virtual void write(const Commit& keys) = 0;
};

/// Decides from a seed what each observer does in each of its calls, and writes the calls down.
class Schedule {
public:
    Schedule(unsigned seed, World& world) : seed_(seed), world_(world) {}

    void begin() {
        for (int count = 0; count < 4; ++count) addOne(random(0, count));
        world_.write({"a", "b", "c"});
    }
    /// Throws where the observer does.
    void called(int observer, const Key& key) {
        calls_.push_back(std::to_string(observer) + " " + key);
        std::mt19937 choice = random(observer + 1, ++timesCalled_[observer]);
        for (auto actions = choice() % 3; actions > 0; --actions) act(choice);
        if (choice() % 5 == 0) throw std::runtime_error("as the schedule has it");
    }
    const Calls& calls() const { return calls_; }

private:
    std::mt19937 random(int observer, int call) const {
        std::seed_seq parts{seed_, static_cast<unsigned>(observer), static_cast<unsigned>(call)};
        return std::mt19937(parts);
    }
    static Key anyKey(std::mt19937& choice) { return Key(1, "abcd"[choice() % 4]); }
    void addOne(std::mt19937 choice) {
        world_.add(observers_++, choice() % 2 ? anyKey(choice) : Key());
    }
    void act(std::mt19937& choice) {
        if (budget_ == 0) return;
        --budget_;
        switch (choice() % 3) {
            case 0:
                addOne(choice);
                break;
            case 1:
                world_.remove(static_cast<int>(choice()) % observers_);
                break;
            default: {
                Commit keys;
                for (auto count = choice() % 3 + 1; count > 0; --count)
                    keys.push_back(anyKey(choice));
                world_.write(keys);
            }
        }
    }
    const unsigned seed_;
    World& world_;
    std::map<int, int> timesCalled_;
    int observers_ = 0;
    int budget_ = 25;
    Calls calls_;
};

/// The rules: each commit is told once and in order; what waits when the screen moves is told
/// together, each row once; who observes a row is settled when its turn comes.
class Model final : public World {
public:
    explicit Model(unsigned seed) : schedule_(seed, *this) {}

    void add(int observer, const Key& key) override { observers_[observer] = key; }
    void remove(int observer) override { observers_.erase(observer); }
    void write(const Commit& keys) override { waiting_.push_back(keys); }

    const Calls& run() {
        schedule_.begin();
        while (!waiting_.empty()) tell(std::exchange(waiting_, {}));
        return schedule_.calls();
    }

private:
    void tell(const std::deque<Commit>& commits) {
        std::vector<Key> rows;
        for (const Commit& commit : commits)
            for (const Key& key : commit)
                if (std::find(rows.begin(), rows.end(), key) == rows.end()) rows.push_back(key);
        for (const Key& row : rows)
            for (const int observer : observersOf(row)) try {
                    schedule_.called(observer, row);
                } catch (const std::runtime_error&) {
                }
    }
    std::vector<int> observersOf(const Key& row) const {
        std::vector<int> found;
        for (const auto& [observer, key] : observers_)
            if (key == row) found.push_back(observer);
        for (const auto& [observer, key] : observers_)
            if (key.empty()) found.push_back(observer);
        return found;
    }
    Schedule schedule_;
    std::map<int, Key> observers_;
    std::deque<Commit> waiting_;
};

class GivenObserversWithASchedule : public CallbackLibrary {
protected:
    class Library final : public World {
    public:
        Library(unsigned seed, PLXDatabaseManager& manager)
            : schedule_(seed, *this), manager_(manager) {}
        ~Library() override {
            for (const auto& [observer, token] : tokens_) manager_.removeChangeObserver(token);
        }
        void add(int observer, const Key& key) override {
            tokens_[observer] = manager_.addChangeObserverForCollection(
                "rows", key.empty() ? std::string_view() : std::string_view(key),
                [this, observer](auto, std::string_view row) {
                    schedule_.called(observer, Key(row));
                });
        }
        void remove(int observer) override { manager_.removeChangeObserver(tokens_[observer]); }
        void write(const Commit& keys) override {
            EXPECT_TRUE(manager_.bgDatabaseConnection()->readWrite([&](auto& transaction) {
                for (const Key& key : keys) transaction.setObject(Value("text"), key, "rows");
            }));
        }
        Schedule& schedule() { return schedule_; }

    private:
        Schedule schedule_;
        PLXDatabaseManager& manager_;
        std::map<int, std::optional<PLXDatabaseManager::Token>> tokens_;
    };
};

TEST_F(GivenObserversWithASchedule, WhenTheyActWhileTheyAreCalledThenTheModelAgrees) {
    std::size_t calls = 0;
    for (unsigned seed = 0; seed < testScale(150, 1000) && !HasFailure(); ++seed) {
        SCOPED_TRACE("schedule " + std::to_string(seed));
        Library library(seed, manager_);
        library.schedule().begin();
        const auto& told = library.schedule().calls();
        for (std::size_t before = ~std::size_t{0}; told.size() != before;) {
            before = told.size();
            settle();
        }
        EXPECT_EQ(told, Model(seed).run());
        calls += told.size();
        log_.clear();
    }
    EXPECT_GT(calls, 1000u);
}

}  // namespace
}  // namespace qsml
