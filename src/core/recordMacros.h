#pragma once

/// The lines of a record class. The class body is the table: between QSML_RECORD and
/// QSML_RECORD_END each line gives type, name and setter, and the order of the lines is the order
/// of the archive.
///
///     class QSML_EXPORT PLXQueue final : public PLXCloudDatabaseObject {
///         QSML_RECORD(PLXQueue, PLXCloudDatabaseObject)
///         QSML_PROPERTY(String, name, setName)
///         QSML_PROPERTY(std::int64_t, index, setIndex, .initial = -1,
///                       .archived = Archived::unlessInitial)
///         QSML_RECORD_END()
///     };
///
/// and once in its source: QSML_DEFINE_RECORD(PLXQueue, .storesOriginalCloudValues = true)

/// What the tables of records and of value objects have in common.
#define QSML_TABLE(Class)                                                     \
public:                                                                       \
    using Self = Class;                                                       \
    [[maybe_unused]] static std::shared_ptr<Class> init();                    \
    /** A mutable copy, of the same identity if it has one; copied deeply. */ \
    [[maybe_unused]] std::shared_ptr<Class> copy() const;                     \
    std::shared_ptr<::qsml::Object> copyObject() const override;              \
    explicit Class(::qsml::detail::RecordKey) {}                              \
    Class(::qsml::detail::RecordKey, const Class& other) : Class(other) {}    \
    static constexpr int firstLine = __LINE__;                                \
    template <class Table>                                                    \
    static void describe(::qsml::AtLine<__LINE__>, Table&) {}                 \
                                                                              \
protected:                                                                    \
    Class() = default;                                                        \
    Class(const Class&) = default;                                            \
    Class& operator=(const Class&) = delete;                                  \
                                                                              \
public:

#define QSML_RECORD(Class, Super)                                                     \
    QSML_TABLE(Class)                                                                 \
    using Superclass = Super;                                                         \
    static const ::qsml::RecordClass& classObject();                                  \
    const ::qsml::RecordClass& recordClass() const override { return classObject(); } \
    [[maybe_unused]] static std::shared_ptr<Class> initWithUUID(::qsml::String uuid);

/// The same for an object that records hold by value, of which there are no subclasses.
#define QSML_VALUE_OBJECT(Class)                    \
    QSML_TABLE(Class)                               \
    static const ::qsml::ValueClass& classObject(); \
    const ::qsml::ValueClass& valueClass() const override { return classObject(); }

#define QSML_PROPERTY(Type, name, setter, ...) \
    QSML_PROPERTY_AS(Type, name, name, setter, __VA_ARGS__)

/// A property whose getter has another name.
#define QSML_PROPERTY_AS(Type, name, getter, setter, ...)                                       \
public:                                                                                         \
    ::qsml::Passed<Type> getter() const { return name##_; }                                     \
    void setter(Type value) { assign(#name, name##_, std::move(value)); }                       \
    template <class Table>                                                                      \
    static void describe(::qsml::AtLine<__LINE__>, Table& table) {                              \
        table.template add<&Self::name##_, &Self::setter, Type>(#name, #setter, {__VA_ARGS__}); \
    }                                                                                           \
                                                                                                \
private:                                                                                        \
    Type name##_ = ::qsml::PropertyOptions<Type>{__VA_ARGS__}.initial;                          \
                                                                                                \
public:

/// A read-only property that the source computes; never archived.
#define QSML_COMPUTED(Type, name) QSML_COMPUTED_AS(Type, name, name)

#define QSML_COMPUTED_AS(Type, name, getter)                                                  \
public:                                                                                       \
    Type getter() const;                                                                      \
    template <class Table>                                                                    \
    static void describe(::qsml::AtLine<__LINE__>, Table& table) {                            \
        table.template addComputed<static_cast<Type (Self::*)() const>(&Self::getter), Type>( \
            #name);                                                                           \
    }

/// A property whose getter and setter the source writes; archived by the source too, if at all.
#define QSML_ACCESSORS(Type, name, setter)                                            \
public:                                                                               \
    Type name() const;                                                                \
    void setter(Type value);                                                          \
    template <class Table>                                                            \
    static void describe(::qsml::AtLine<__LINE__>, Table& table) {                    \
        table.template addAccessors<static_cast<Type (Self::*)() const>(&Self::name), \
                                    &Self::setter, Type>(#name, #setter);             \
    }

#define QSML_RECORD_END() static constexpr int lastLine = __LINE__;

/// The one definition of the table, with the class-wide policy as data.
#define QSML_DEFINE_RECORD(Class, ...)                            \
    QSML_DEFINE_RECORD_WITHOUT_INIT(Class, __VA_ARGS__)           \
    std::shared_ptr<Class> Class::init() {                        \
        return initWithUUID(::qsml::UUID::random().UUIDString()); \
    }

/// The same for a class whose new records have no random UUID; its source defines init().
#define QSML_DEFINE_RECORD_WITHOUT_INIT(Class, ...)                                       \
    const ::qsml::RecordClass& Class::classObject() {                                     \
        static const ::qsml::RecordClass& object = ::qsml::RecordClass::registered(       \
            *new ::qsml::RecordClass(#Class, &Superclass::classObject(),                  \
                                     []() -> std::shared_ptr<::qsml::Object> {            \
                                         return ::qsml::detail::RecordKey::make<Class>(); \
                                     },                                                   \
                                     ::qsml::ownProperties<Class>(), {__VA_ARGS__}));     \
        return object;                                                                    \
    }                                                                                     \
    std::shared_ptr<Class> Class::initWithUUID(::qsml::String uuid) {                     \
        auto record = ::qsml::detail::RecordKey::make<Class>();                           \
        record->begin(std::move(uuid));                                                   \
        return record;                                                                    \
    }                                                                                     \
    QSML_DEFINE_COPYING(Class)

#define QSML_DEFINE_VALUE_OBJECT(Class)                                                       \
    const ::qsml::ValueClass& Class::classObject() {                                          \
        static const ::qsml::ValueClass& object =                                             \
            ::qsml::ValueClass::registered(*new ::qsml::ValueClass(                           \
                #Class, []() -> std::shared_ptr<::qsml::Object> { return init(); },           \
                ::qsml::ownProperties<Class>()));                                             \
        return object;                                                                        \
    }                                                                                         \
    std::shared_ptr<Class> Class::init() { return ::qsml::detail::RecordKey::make<Class>(); } \
    QSML_DEFINE_COPYING(Class)

#define QSML_DEFINE_COPYING(Class)                              \
    std::shared_ptr<Class> Class::copy() const {                \
        return std::static_pointer_cast<Class>(copyObject());   \
    }                                                           \
    std::shared_ptr<::qsml::Object> Class::copyObject() const { \
        return ::qsml::detail::RecordKey::make<Class>(*this);   \
    }
