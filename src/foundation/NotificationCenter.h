#pragma once
#include <any>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/Export.h"

namespace qsml {

/// What an observer gets: the name, the sender's identity and further facts under string keys.
struct Notification {
    using UserInfo = std::map<std::string, std::any, std::less<>>;
    std::string name;
    const void* sender = nullptr;
    UserInfo userInfo = {};

    /// The entry of that key and type; null where there is none.
    template <class T>
    const T* info(std::string_view key) const {
        auto found = userInfo.find(key);
        return found == userInfo.end() ? nullptr : std::any_cast<T>(&found->second);
    }
};

/// Tells observers, synchronously and on the posting thread, in order of registration. Thread-safe;
/// no lock is held while an observer runs. An observer added during a post is not called for it,
/// one removed before its turn is skipped. An exception from an observer is logged and the others
/// are still called.
class QSML_EXPORT NotificationCenter {
public:
    using Block = std::function<void(const Notification&)>;
    /// Ends its observation when it goes away. It does not wait for a call in progress on another
    /// thread. May outlive its centre.
    class QSML_EXPORT Token {
    public:
        Token();
        ~Token();
        Token(Token&&) noexcept;
        Token& operator=(Token&&) noexcept;
        void cancel();

    private:
        friend class NotificationCenter;
        struct Held;
        std::unique_ptr<Held> held_;
    };

    NotificationCenter();
    ~NotificationCenter();

    /// The process's centre.
    static NotificationCenter& defaultCenter();

    /// An empty name observes every name, a null sender every sender.
    [[nodiscard]] Token addObserver(std::string name, const void* sender, Block block);
    void post(const Notification& notification);

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace qsml
