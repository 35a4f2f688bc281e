#pragma once
#include <functional>

#include "core/KeySet.h"
#include "filters/FilterClass.h"
#include "filters/PredicateCache.h"
#include "foundation/NotificationCenter.h"

namespace qsml {

/// For applications, which post it when a rule has been edited; the library neither posts nor
/// observes it.
inline constexpr std::string_view PLXMediaItemFilterDidChangedNotification =
    "PLXMediaItemFilterDidChangedNotification";

/// One condition on one property of a track; the kinds of rules derive from it. A rule has no
/// identity: records hold rules by value, in filter sets.
///
/// Confined to one thread at a time while it is changed. What a record holds is its own copy, which
/// nobody changes; any thread may read it and ask it for predicates.
class QSML_EXPORT PLXMediaItemFilter : public Object {
    QSML_TABLE(PLXMediaItemFilter)
    static const FilterClass& classObject();
    virtual const FilterClass& filterClass() const { return classObject(); }
    const ArchiveClass& archiveClass() const final { return filterClass(); }
    static constexpr bool supportsSecureCoding() { return true; }

    /// The rule's label, which the application chooses.
    QSML_PROPERTY(String, name, setName)
    /// Of the property of the track that the rule tests.
    QSML_PROPERTY(String, keyPath, setKeyPath)
    /// Whether the key path gives several values, of which one must match, or none where the
    /// operator is a negative one.
    QSML_PROPERTY(bool, keyPathIsCollection, setKeyPathIsCollection,
                  .archiveKey = "keyPathContainsMultipleValues")
    /// Whether the application applies the rule; predicates do not depend on it. On purpose a
    /// rule archived without the key is disabled. Pinned by
    /// GivenArchivesOfARule.WhenEnabledIsMissingThenTheRuleIsDisabled.
    QSML_PROPERTY_AS(bool, enabled, isEnabled, setEnabled, .initial = true)
    QSML_RECORD_END()

    /// Whether the application edits the rule at the moment; neither archived, copied nor compared.
    bool isEditing() const { return own_.editing; }
    void setEditing(bool editing);

    /// The rule as a predicate on objects that have a track's property at the key path; null when
    /// the rule has no value to compare with. The same predicate until a property changes.
    std::shared_ptr<const Predicate> predicateForKeyPath(std::string_view keyPath) const;
    /// The same for its own key path, behind the prefix and a point unless the prefix is nil: for
    /// objects that hold a track under that key. Null without a key path.
    std::shared_ptr<const Predicate> predicateForKeyPathPrefix(const String& prefix) const;

    /// The rule as a sentence in the user's language; nil here.
    virtual String displayValue() const { return {}; }
    /// Observers of "displayValue" are told when any of these changes.
    static const KeySet& keyPathsForValuesAffectingDisplayValue();

    using Observer = std::function<void(std::string_view key)>;
    /// Tells the observer of every setting of that property from now on, after it, on the thread
    /// that sets; of every property when the key is empty. As long as the token lives; copies of
    /// the rule have no observers.
    [[nodiscard]] NotificationCenter::Token addObserver(std::string_view key, Observer observer);

    /// The same object, or one of this class or a subclass of it with equal properties. On purpose
    /// not symmetric. Pinned by GivenARuleAndOneOfASubclass.WhenComparedThenEqualOneWayOnly.
    bool isEqualToFilter(const PLXMediaItemFilter* other) const;
    bool isEqual(const Object& other) const final;
    /// Of the properties that every rule has, so that it agrees with equality.
    std::size_t hash() const final;

    /// The rows of the table; classes that read older forms call this first.
    void encodeWithCoder(KeyedArchiver& coder) const override;
    bool initWithCoder(KeyedUnarchiver& coder) override;

protected:
    /// Builds what predicateForKeyPath() answers and keeps; null when the rule cannot form one.
    virtual std::shared_ptr<const Predicate> makePredicateForKeyPath(
        std::string_view keyPath) const;

    /// Forgets the predicates, then tells the observers. Every setter ends with it.
    void didChangeValueForKey(std::string_view key);

    /// The common setter of every line.
    template <class T>
    void assign(std::string_view key, T& field, std::type_identity_t<T>&& value) {
        field = std::move(value);
        didChangeValueForKey(key);
    }

private:
    /// What belongs to this one object: a copy begins without it.
    struct Own {
        Own() = default;
        Own(const Own&) {}
        Own& operator=(const Own&) = delete;

        bool editing = false;
        mutable PredicateCache cachedPredicates;
        std::shared_ptr<NotificationCenter> observers;  // null until somebody observes
    };
    Own own_;
};

}  // namespace qsml
