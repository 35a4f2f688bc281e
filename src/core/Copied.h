#pragma once
#include <algorithm>
#include <type_traits>

#include "core/Boxing.h"

namespace qsml {

/// An object that belongs to one record: given or copied, it is copied deeply, so nobody else can
/// change it. Read through std::shared_ptr<const T>, which stays true while others hold it.
template <class T>
class Copied {
public:
    using Held = std::shared_ptr<const T>;

    Copied() = default;
    Copied(std::nullptr_t) {}
    template <class Other>
    requires std::convertible_to<std::shared_ptr<Other>, Held> Copied(
        const std::shared_ptr<Other>& object)
        : held_(copyOf(object.get())) {}
    Copied(const Copied& other) : held_(copyOf(other.held_.get())) {}
    Copied(Copied&&) noexcept = default;
    Copied& operator=(Copied other) noexcept {
        held_.swap(other.held_);
        return *this;
    }
    ~Copied() = default;

    /// Takes an object that nobody else can change, such as one just decoded.
    static Copied adopting(Held object) {
        Copied adopted;
        adopted.held_ = std::move(object);
        return adopted;
    }

    const Held& get() const { return held_; }
    operator const Held&() const { return held_; }
    const T* operator->() const { return held_.get(); }
    explicit operator bool() const { return held_ != nullptr; }

private:
    static Held copyOf(const T* object) {
        return object ? std::static_pointer_cast<const T>(object->copyObject()) : nullptr;
    }
    Held held_;
};

/// Several such objects in order; may be nil. Written as an array, or with ArchiveForm::set as a
/// set.
template <class T>
class CopiedArray {
public:
    using Elements = std::vector<std::shared_ptr<const T>>;

    CopiedArray() = default;
    CopiedArray(std::nullopt_t) {}
    template <class Other>
    requires std::convertible_to<std::shared_ptr<Other>, std::shared_ptr<const T>> CopiedArray(
        const std::vector<std::shared_ptr<Other>>& objects)
        : held_(copyOf(objects)) {}
    CopiedArray(const std::optional<Elements>& objects) {
        if (objects) held_ = copyOf(*objects);
    }
    CopiedArray(const CopiedArray& other) {
        if (other.held_) held_ = copyOf(*other.held_);
    }
    CopiedArray(CopiedArray&&) noexcept = default;
    CopiedArray& operator=(CopiedArray other) noexcept {
        held_.swap(other.held_);
        return *this;
    }
    ~CopiedArray() = default;

    static CopiedArray adopting(Elements elements) {
        CopiedArray adopted;
        adopted.held_ = std::move(elements);
        return adopted;
    }

    const std::optional<Elements>& get() const { return held_; }
    operator const std::optional<Elements>&() const { return held_; }
    explicit operator bool() const { return held_.has_value(); }
    const Elements& operator*() const { return *held_; }
    const Elements* operator->() const { return &*held_; }

private:
    template <class Objects>
    static Elements copyOf(const Objects& objects) {
        Elements copies;
        copies.reserve(objects.size());
        for (const auto& object : objects)
            if (object) copies.push_back(std::static_pointer_cast<const T>(object->copyObject()));
        return copies;
    }
    std::optional<Elements> held_;
};

/// The object of a value when it is a T; null otherwise.
template <class T>
std::shared_ptr<const T> objectOfClass(const Value& value) {
    if (value.kind() != Value::Kind::object) return nullptr;
    if (!value.object()->archiveClass().isSubclassOf(T::classObject())) return nullptr;
    return std::static_pointer_cast<const T>(value.object());
}

template <class T>
struct Boxing<Copied<T>> {
    static constexpr std::string_view encoding = "@";
    static Value box(const Copied<T>& object, ArchiveForm) {
        return Value(std::shared_ptr<const Object>(object.get()));
    }
    static bool unbox(const Value& value, Copied<T>& into) {
        into = Copied<T>(objectOfClass<T>(value));
        return value.isNil() || into;
    }
    static void encode(KeyedArchiver& coder, std::string_view key, const Copied<T>& object,
                       ArchiveForm) {
        coder.encodeObject(key, object.get().get());
    }
    static void decode(KeyedUnarchiver& coder, std::string_view key, Copied<T>& into, ArchiveForm) {
        into = Copied<T>::adopting(
            std::static_pointer_cast<const T>(coder.decodeObject(key, T::classObject())));
    }
};

template <class T>
struct Boxing<CopiedArray<T>> {
    using Elements = typename CopiedArray<T>::Elements;
    static constexpr std::string_view encoding = "@";
    static Value box(const CopiedArray<T>& objects, ArchiveForm form) {
        if (!objects) return Value();
        Value::Array elements;
        elements.reserve(objects->size());
        for (const auto& object : *objects)
            elements.emplace_back(std::shared_ptr<const Object>(object));
        if (form == ArchiveForm::set) return Value(ValueSet(std::move(elements)));
        return Value(std::move(elements));
    }
    static bool unbox(const Value& value, CopiedArray<T>& into) {
        const Elements elements = elementsOf(value);
        into = value.isCollection() ? CopiedArray<T>(elements) : CopiedArray<T>();
        return value.isNil() || (into && elements.size() == value.elements().size());
    }
    static void encode(KeyedArchiver& coder, std::string_view key, const CopiedArray<T>& objects,
                       ArchiveForm form) {
        coder.encodeValue(key, box(objects, form));
    }
    /// Elements of other classes are left out.
    static void decode(KeyedUnarchiver& coder, std::string_view key, CopiedArray<T>& into,
                       ArchiveForm form) {
        (void)T::classObject();  // known to decoding from its first use on
        const Value value = coder.decodeValue(key);
        into = accepts(form, value.kind()) ? CopiedArray<T>::adopting(elementsOf(value))
                                           : CopiedArray<T>();
    }

private:
    static Elements elementsOf(const Value& value) {
        Elements elements;
        for (const Value& element : value.elements())
            if (auto object = objectOfClass<T>(element)) elements.push_back(std::move(object));
        return elements;
    }
};

/// How a getter answers and which type it names.
template <class T>
struct PassedType {
    using type = std::conditional_t<std::is_scalar_v<T>, T, const T&>;
};
template <class T>
struct PassedType<Copied<T>> {
    using type = const std::shared_ptr<const T>&;
};
template <class T>
struct PassedType<CopiedArray<T>> {
    using type = const std::optional<std::vector<std::shared_ptr<const T>>>&;
};
template <class T>
using Passed = typename PassedType<T>::type;

}  // namespace qsml
