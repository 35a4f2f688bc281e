#include "foundation/NotificationCenter.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "foundation/Log.h"

namespace qsml {

namespace {

struct Observer {
    std::uint64_t number;  // in order of registration
    std::string name;
    const void* sender;
    NotificationCenter::Block block;
    std::atomic<bool> active{true};
};

using Observers = std::vector<std::shared_ptr<Observer>>;

void call(const Observer& observer, const Notification& notification) {
    try {
        observer.block(notification);
    } catch (const std::exception& error) {
        log("An observer of \"" + notification.name + "\" threw: " + error.what());
    } catch (...) {
        log("An observer of \"" + notification.name + "\" threw something unknown");
    }
}

}  // namespace

struct NotificationCenter::State {
    std::mutex mutex;
    std::uint64_t registrations = 0;
    /// By name, "" for all names; each list in order of registration.
    std::unordered_map<std::string, Observers> observers;

    void remove(const std::shared_ptr<Observer>& observer) {
        const std::lock_guard lock(mutex);
        const auto found = observers.find(observer->name);
        if (found == observers.end()) return;
        auto& list = found->second;
        const auto at = std::ranges::lower_bound(list, observer->number, {}, &Observer::number);
        if (at != list.end() && *at == observer) list.erase(at);
        if (list.empty()) observers.erase(found);
    }

    /// Those to be told, in order of registration.
    Observers observersOf(const Notification& notification) {
        Observers told;
        const auto concerned = [&](const std::shared_ptr<Observer>& observer) {
            return !observer->sender || observer->sender == notification.sender;
        };
        const std::lock_guard lock(mutex);
        const auto take = [&](const std::string& name) {
            const auto found = observers.find(name);
            if (found != observers.end())
                std::ranges::copy_if(found->second, std::back_inserter(told), concerned);
            return static_cast<std::ptrdiff_t>(told.size());
        };
        const auto middle = take(notification.name);
        if (!notification.name.empty()) take("");
        std::ranges::inplace_merge(told, told.begin() + middle, {}, &Observer::number);
        return told;
    }
};

struct NotificationCenter::Token::Held {
    std::weak_ptr<State> state;
    std::shared_ptr<Observer> observer;
};

NotificationCenter::Token::Token() = default;
NotificationCenter::Token::~Token() { cancel(); }
NotificationCenter::Token::Token(Token&&) noexcept = default;

NotificationCenter::Token& NotificationCenter::Token::operator=(Token&& other) noexcept {
    if (this == &other) return *this;
    cancel();
    held_ = std::move(other.held_);
    return *this;
}

void NotificationCenter::Token::cancel() {
    const auto held = std::move(held_);
    if (!held) return;
    held->observer->active = false;
    if (const auto state = held->state.lock()) state->remove(held->observer);
}

NotificationCenter::NotificationCenter() : state_(std::make_shared<State>()) {}

NotificationCenter::~NotificationCenter() = default;

NotificationCenter& NotificationCenter::defaultCenter() {
    static auto& center = *new NotificationCenter();  // threads may post until the process ends
    return center;
}

NotificationCenter::Token NotificationCenter::addObserver(std::string name, const void* sender,
                                                          Block block) {
    Token token;
    token.held_ = std::make_unique<Token::Held>();
    token.held_->state = state_;
    const std::lock_guard lock(state_->mutex);
    auto observer = std::shared_ptr<Observer>(
        new Observer{++state_->registrations, std::move(name), sender, std::move(block)});
    state_->observers[observer->name].push_back(observer);
    token.held_->observer = std::move(observer);
    return token;
}

void NotificationCenter::post(const Notification& notification) {
    const auto state = state_;  // an observer may destroy the centre
    for (const auto& observer : state->observersOf(notification))
        if (observer->active) call(*observer, notification);
}

}  // namespace qsml
