#include "testing/OpenStore.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace qsml {

YapDatabaseObjectCallbacks plainTexts() {
    YapDatabaseObjectCallbacks callbacks;
    callbacks.serializer = [](std::string_view, std::string_view, const Value& object,
                              Error* error) -> std::span<const std::uint8_t> {
        static thread_local String text;
        text = object.string();
        if (!text) report(error, {"PlainTexts", 1, "Only texts can be stored."});
        return {reinterpret_cast<const std::uint8_t*>(text.c_str()), text.size()};
    };
    callbacks.deserializer = [](std::string_view, std::string_view,
                                std::span<const std::uint8_t> bytes) {
        return Value(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    };
    return callbacks;
}

struct TestExecutor::State {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> blocks;
    std::size_t running = 0;
    bool stops = false;
    std::vector<std::thread> threads;

    void work() {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [&] { return stops || !blocks.empty(); });
            if (blocks.empty()) return;
            auto block = std::move(blocks.front());
            blocks.pop_front();
            running++;
            lock.unlock();
            block();
            block = nullptr;
            lock.lock();
            running--;
            changed.notify_all();
        }
    }
};

TestExecutor::TestExecutor() : state_(std::make_unique<State>()) {
    for (int thread = 0; thread < 4; thread++)
        state_->threads.emplace_back([state = state_.get()] { state->work(); });
}

TestExecutor::~TestExecutor() {
    {
        std::lock_guard lock(state_->mutex);
        state_->stops = true;
    }
    state_->changed.notify_all();
    for (auto& thread : state_->threads) thread.join();
}

void TestExecutor::post(std::function<void()> block) {
    {
        std::lock_guard lock(state_->mutex);
        state_->blocks.push_back(std::move(block));
    }
    state_->changed.notify_one();
}

void TestExecutor::waitUntilIdle() {
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [&] { return state_->blocks.empty() && state_->running == 0; });
}

StoreOfTexts::StoreOfTexts(std::string path) : path_(std::move(path)) {
    options.executor = executor_;
    options.notificationQueue = &queue_;
}

StoreOfTexts::~StoreOfTexts() {
    close();
    options.executor.reset();
}

bool StoreOfTexts::open(Error* error) {
    close();
    database_ = YapDatabase::initWithPath(path_, plainTexts(), plainTexts(), options, error);
    if (!database_) return false;
    connection_ = database_->newConnection(error);
    if (!connection_) database_.reset();
    return database_ != nullptr;
}

void StoreOfTexts::close() {
    connection_.reset();
    database_.reset();
    drain();
}

void StoreOfTexts::drain() { executor_->waitUntilIdle(); }

bool StoreOfTexts::set(std::string_view key, std::string_view text, std::string_view collection,
                       Error* error) {
    bool accepted = false;
    const bool committed = connection_->readWrite(
        [&](auto& transaction) { accepted = transaction.setObject(text, key, collection); }, error);
    return committed && accepted;
}

std::string StoreOfTexts::text(std::string_view key, std::string_view collection) {
    std::string text;
    const bool done = connection_->read([&](auto& transaction) {
        const String found = transaction.objectForKey(key, collection).string();
        text = found ? found.str() : transaction.error() ? "(error)" : "(nil)";
    });
    return done ? text : "(error)";
}

std::string StoreOfTexts::faults() {
    std::string lines;
    Error error;
    const bool sound = database_->check(
        [&](const YapDatabase::Fault& fault) {
            lines += fault.collection + "/" + fault.key + " [" + fault.extension +
                     "]: " + fault.description + "\n";
        },
        {}, &error);
    if (!sound && lines.empty()) lines = "check failed: " + error.description;
    return lines;
}

}  // namespace qsml
