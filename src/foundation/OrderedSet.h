#pragma once
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <unordered_map>
#include <vector>

namespace qsml {

/// Distinct values in a fixed order; an immutable value, copied by sharing. Building one from a
/// list with repeats keeps first positions. Position lookup takes constant time; sets of up to
/// eight elements are searched in line and keep no index. Elements are one only when both equality
/// and hash say so, whatever the size: some objects are equal and hash differently, and a set holds
/// both. Thread-safe as std::shared_ptr is.
template <class T>
class OrderedSet {
public:
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    OrderedSet() = default;
    OrderedSet(std::initializer_list<T> elements) : OrderedSet(std::vector<T>(elements)) {}
    explicit OrderedSet(std::vector<T> elements) {
        auto made = std::make_shared<Content>();
        made->take(std::move(elements));
        if (!made->elements.empty()) content_ = std::move(made);
    }

    std::size_t size() const noexcept { return content_ ? content_->elements.size() : 0; }
    bool empty() const noexcept { return size() == 0; }
    const T& operator[](std::size_t position) const { return content_->elements[position]; }
    const T* begin() const noexcept { return content_ ? content_->elements.data() : nullptr; }
    const T* end() const noexcept { return begin() + size(); }

    /// The element's position, npos where it is absent.
    std::size_t indexOf(const T& element) const {
        return content_ ? content_->indexOf(element) : npos;
    }
    bool contains(const T& element) const { return indexOf(element) != npos; }
    std::vector<T> elements() const { return {begin(), end()}; }
    /// The same without a copy; valid as long as this set or a copy of it lives.
    const std::vector<T>& list() const noexcept {
        static const std::vector<T>& none = *new std::vector<T>();  // outlives every caller
        return content_ ? content_->elements : none;
    }

    /// Same elements in the same order.
    friend bool operator==(const OrderedSet& a, const OrderedSet& b) {
        return a.content_ == b.content_ ||
               (a.content_ && b.content_ && a.content_->elements == b.content_->elements);
    }

private:
    static constexpr std::size_t searchedInLine = 8;
    using Positions = std::unordered_map<T, std::size_t>;

    struct Content {
        std::vector<T> elements;
        std::unique_ptr<Positions> positions;  // null for small sets

        std::size_t indexOf(const T& element) const {
            if (!positions) return indexAmong(elements.size(), element);
            const auto found = positions->find(element);
            return found == positions->end() ? npos : found->second;
        }

        std::size_t indexAmong(std::size_t count, const T& element) const {
            for (std::size_t i = 0; i < count; ++i)
                if (elements[i] == element &&
                    std::hash<T>()(elements[i]) == std::hash<T>()(element))
                    return i;
            return npos;
        }

        /// Whether none of the first `count` elements equals it; notes its position.
        bool isNew(const T& element, std::size_t count) {
            if (!positions) return indexAmong(count, element) == npos;
            return positions->emplace(element, count).second;
        }

        /// Keeps the list's own memory and closes the gaps that repeats leave.
        void take(std::vector<T> all) {
            elements = std::move(all);
            if (elements.size() > searchedInLine) {
                positions = std::make_unique<Positions>();
                positions->reserve(elements.size());
            }
            std::size_t count = 0;
            for (std::size_t i = 0; i < elements.size(); ++i) {
                if (!isNew(elements[i], count)) continue;
                if (i != count) elements[count] = std::move(elements[i]);
                ++count;
            }
            elements.erase(elements.begin() + static_cast<std::ptrdiff_t>(count), elements.end());
        }
    };

    std::shared_ptr<const Content> content_;  // null when empty
};

}  // namespace qsml
