#pragma once
#include "core/PropertyTable.h"
#include "core/RecordKey.h"
#include "core/recordMacros.h"
#include "foundation/Object.h"

namespace qsml {

/// The class object of a kind of rule: its table, which begins with that of its superclass. Made
/// once, never destroyed; immutable.
class QSML_EXPORT FilterClass : public ArchiveClass {
public:
    /// `superclass` is null at the root of the rules, whose superclass in archives is NSObject.
    FilterClass(std::string_view name, const FilterClass* superclass, Allocate maker,
                const std::vector<Property>& own);
    /// Makes the class known to decoding and answers it.
    static const FilterClass& registered(const FilterClass& filterClass) {
        registerClass(filterClass);
        return filterClass;
    }
    const std::vector<Property>& properties() const { return properties_; }

private:
    std::vector<Property> properties_;
};

}  // namespace qsml

/// The head of a kind of rule, declared by the same lines as a record: what they list is archived,
/// copied and compared.
///
///     class PLXMediaItemStringFilter final : public PLXMediaItemFilter {
///         QSML_FILTER(PLXMediaItemStringFilter, PLXMediaItemFilter)
///         QSML_PROPERTY(String, value, setValue)
///         QSML_RECORD_END()
///     };
///
/// and once in its source: QSML_DEFINE_FILTER(PLXMediaItemStringFilter)
#define QSML_FILTER(Class, Super)                    \
    QSML_TABLE(Class)                                \
    using Superclass = Super;                        \
    static const ::qsml::FilterClass& classObject(); \
    const ::qsml::FilterClass& filterClass() const override { return classObject(); }

#define QSML_DEFINE_FILTER(Class) QSML_DEFINE_FILTER_BELOW(Class, &Superclass::classObject())

#define QSML_DEFINE_FILTER_BELOW(Class, superclass)                                             \
    const ::qsml::FilterClass& Class::classObject() {                                           \
        static const ::qsml::FilterClass& object =                                              \
            ::qsml::FilterClass::registered(*new ::qsml::FilterClass(                           \
                #Class, superclass, []() -> std::shared_ptr<::qsml::Object> { return init(); }, \
                ::qsml::ownProperties<Class>()));                                               \
        return object;                                                                          \
    }                                                                                           \
    std::shared_ptr<Class> Class::init() { return ::qsml::detail::RecordKey::make<Class>(); }   \
    QSML_DEFINE_COPYING(Class)
