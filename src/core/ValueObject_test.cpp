#include "core/ValueObject.h"

#include <gtest/gtest.h>

#include <cmath>

#include "testing/recordTable.h"

namespace qsml {
namespace {

/// A row of every form that a value object may hold.
class Fader final : public ValueObject {
    QSML_VALUE_OBJECT(Fader)
    QSML_PROPERTY(std::int64_t, channel, setChannel)
    QSML_PROPERTY(float, level, setLevel)
    QSML_PROPERTY(bool, muted, setMuted, .form = ArchiveForm::integer)
    QSML_PROPERTY(String, label, setLabel)
    QSML_PROPERTY(std::optional<OrderedSet<String>>, loose, setLoose,
                  .form = ArchiveForm::arrayOrOrderedSet)
    QSML_PROPERTY(std::optional<OrderedSet<String>>, strict, setStrict,
                  .form = ArchiveForm::orderedSet)
    QSML_PROPERTY(std::optional<OrderedSet<String>>, names, setNames, .form = ArchiveForm::set)
    QSML_RECORD_END()
};

QSML_DEFINE_VALUE_OBJECT(Fader)

class Knob final : public ValueObject {
    QSML_VALUE_OBJECT(Knob)
    QSML_PROPERTY(std::int64_t, channel, setChannel)
    QSML_RECORD_END()
};

QSML_DEFINE_VALUE_OBJECT(Knob)

std::shared_ptr<Fader> filled() {
    auto fader = Fader::init();
    fader->setChannel(2);
    fader->setLevel(0.75F);
    fader->setMuted(true);
    fader->setLabel("Drums");
    fader->setLoose(OrderedSet<String>{"b", "a"});
    fader->setStrict(OrderedSet<String>{"d", "c"});
    fader->setNames(OrderedSet<String>{"x"});
    return fader;
}

TEST(GivenAValueObject, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    expectTable<Fader>({{"channel", Takes::whole, 0},
                        {"level", Takes::real, 0.0F},
                        {"muted", Takes::boolean, false},
                        {"label", Takes::text},
                        {"loose", Takes::arrayOrOrderedSet},
                        {"strict", Takes::orderedSet},
                        {"names", Takes::set}},
                       *filled());
}

TEST(GivenAValueObject, WhenArchivedThenAnEqualOneIsReadBack) {
    const auto fader = filled();
    const auto read = recordFrom<Fader>(archiveOf(*fader));
    ASSERT_TRUE(read);
    EXPECT_TRUE(fader->isEqual(*read));
    EXPECT_EQ(fader->hash(), read->hash());
    EXPECT_EQ(*read->loose(), (OrderedSet<String>{"b", "a"}));
    EXPECT_EQ(archiveOf(*read), archiveOf(*fader));
}

TEST(GivenAValueObject, WhenABoolIsArchivedAsAnIntegerThenTheArchiveHoldsANumber) {
    EXPECT_NE(archiveDescription(archiveOf(*filled())).find("\"muted\":1"), std::string::npos);
}

TEST(GivenTwoValueObjects, WhenAnyPropertyDiffersThenTheyAreNotEqual) {
    const auto differsBy = [](auto change) {
        const auto other = filled();
        change(*other);
        return !filled()->isEqual(*other) && !other->isEqual(*filled());
    };
    EXPECT_FALSE(differsBy([](Fader&) {}));
    EXPECT_TRUE(differsBy([](Fader& f) { f.setChannel(3); }));
    EXPECT_TRUE(differsBy([](Fader& f) { f.setLevel(std::nextafter(0.75F, 1.0F)); }));
    EXPECT_TRUE(differsBy([](Fader& f) { f.setMuted(false); }));
    EXPECT_TRUE(differsBy([](Fader& f) { f.setLabel("drums"); }));
    EXPECT_TRUE(differsBy([](Fader& f) { f.setLabel(""); }));
    EXPECT_TRUE(differsBy([](Fader& f) { f.setLabel(nullptr); }));
    EXPECT_TRUE(differsBy([](Fader& f) { f.setLoose(OrderedSet<String>{"a", "b"}); }));
}

TEST(GivenTwoValueObjects, WhenTheyAreOfDifferentClassesThenTheyAreNotEqual) {
    EXPECT_FALSE(Fader::init()->isEqual(*Knob::init()));
    EXPECT_FALSE(Knob::init()->isEqual(*Fader::init()));
}

TEST(GivenAValueObject, WhenItHoldsNoNumberThenItEqualsItselfAndNoOther) {
    const auto fader = filled();
    fader->setLevel(std::nanf(""));
    EXPECT_TRUE(fader->isEqual(*fader));
    EXPECT_FALSE(fader->isEqual(*fader->copy()));
}

TEST(GivenAValueObject, WhenItsCopyIsChangedThenItStaysAsItWas) {
    const auto fader = filled();
    const auto copy = fader->copy();
    copy->setLabel("Bass");
    EXPECT_EQ(fader->label(), "Drums");
    EXPECT_FALSE(fader->isEqual(*copy));
}

TEST(GivenAValueObject, WhenItsArchiveIsDamagedThenItReadsAsOneOrNil) {
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
