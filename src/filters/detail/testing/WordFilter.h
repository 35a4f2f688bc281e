#pragma once
#include "filters/PLXMediaItemFilter.h"
#include "filters/valueForKeyPath.h"

namespace qsml {

/// A concrete rule: the text at the key path is the word.
class WordFilter : public PLXMediaItemFilter {
    QSML_FILTER(WordFilter, PLXMediaItemFilter)
    QSML_PROPERTY(String, word, setWord)
    QSML_PROPERTY(std::int64_t, operatorType, setOperatorType)
    QSML_RECORD_END()

    static std::shared_ptr<WordFilter> initWithWord(String word) {
        auto made = init();
        made->setName("Word");
        made->setKeyPath("title");
        made->setWord(std::move(word));
        return made;
    }
    String displayValue() const override { return isEditing() ? "..." : word(); }
    int timesBuilt() const { return timesBuilt_; }

protected:
    std::shared_ptr<const Predicate> makePredicateForKeyPath(
        std::string_view keyPath) const override {
        if (!word()) return nullptr;
        ++timesBuilt_;
        return predicateWithBlock(
            [path = std::string(keyPath), word = word()](const Object& object) {
                return valueForKeyPath(object, path) == Value(word);
            });
    }

private:
    mutable int timesBuilt_ = 0;
};

/// A rule of a subclass of a concrete one.
class LoudWordFilter final : public WordFilter {
    QSML_FILTER(LoudWordFilter, WordFilter)
    QSML_PROPERTY(bool, loud, setLoud)
    QSML_RECORD_END()
};

}  // namespace qsml
