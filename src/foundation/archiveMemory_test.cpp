// A program of its own: it counts what the whole process allocates. The linker sends the library's
// malloc and free here (--wrap); operator new does the same for everything else.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

#include "testing/HostileArchive.h"

extern "C" {
void* __real_malloc(std::size_t size);
void __real_free(void* memory);
void* __wrap_malloc(std::size_t size);
void __wrap_free(void* memory);
}

namespace {

std::atomic<std::size_t> live{0}, most{0};

}  // namespace

void* __wrap_malloc(std::size_t size) {
    void* memory = __real_malloc(size);
    if (!memory) return nullptr;
    const std::size_t now = live += malloc_usable_size(memory);
    if (now > most) most = now;
    return memory;
}

void __wrap_free(void* memory) {
    if (memory) live -= malloc_usable_size(memory);
    __real_free(memory);
}

void* operator new(std::size_t size) {
    if (void* memory = __wrap_malloc(size)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { __wrap_free(memory); }
void operator delete(void* memory, std::size_t) noexcept { __wrap_free(memory); }

namespace qsml::hostile {
namespace {

B::Ref oneTextManyTimes(B& b, std::size_t count) {
    return b.array(std::vector<B::Ref>(count, b.uid(b.addText("x"))));
}

Bytes doubled(const char* className, int levels) {
    B b;
    std::uint32_t below = b.addText("leaf");
    for (int i = 0; i < levels; ++i)
        below = b.instance(className, {{"NS.objects", b.array({b.uid(below), b.uid(below)})}});
    return b.archive(below);
}

/// Many objects that are one and the same text or data.
Bytes oneObjectUnderManyNumbers(const std::function<B::Ref(B&)>& object, int count) {
    B b(2);
    const B::Ref item = object(b);
    std::vector<std::uint32_t> elements;
    for (int i = 0; i < count; ++i) elements.push_back(b.add(item));
    return b.archive(b.collection("NSArray", elements));
}

Bytes manyEmptyCollections(const char* className, int count) {
    B b;
    const B::Ref none = b.array({}), itsClass = b.uid(b.classNamed(className));
    const B::Ref empty = b.dictionary({{"NS.objects", none}, {"$class", itsClass}});
    std::vector<std::uint32_t> elements;
    for (int i = 0; i < count; ++i) elements.push_back(b.add(empty));
    return b.archive(b.collection("NSArray", elements));
}

std::vector<Case> amplifyingCases() {
    const std::string longText(100000, 'x');
    return {
        {"ArrayThatNamesOneTextOften", Ends::inError,
         [] {
             B b(1);
             return b.archive(b.instance("NSArray", {{"NS.objects", oneTextManyTimes(b, 300000)}}));
         }},
        {"SetThatNamesOneTextOften", Ends::inError,
         [] {
             B b(1);
             return b.archive(b.instance("NSSet", {{"NS.objects", oneTextManyTimes(b, 300000)}}));
         }},
        {"TextsThatAreOneLongText", Ends::inError,
         [=] { return oneObjectUnderManyNumbers([&](B& b) { return b.text(longText); }, 10000); }},
        {"DataThatIsOneLongData", Ends::inError,
         [=] { return oneObjectUnderManyNumbers([&](B& b) { return b.data(longText); }, 10000); }},
        {"ShortTextsThatAreOneText", Ends::inError,
         [] { return oneObjectUnderManyNumbers([](B& b) { return b.text("abc"); }, 60000); }},
        {"DoublingArrays", Ends::inValue, [] { return doubled("NSArray", 500); }},
        {"DoublingSets", Ends::inValue, [] { return doubled("NSSet", 40); }},
        {"ManyEmptySets", Ends::inValue, [] { return manyEmptyCollections("NSSet", 20000); }},
        {"ManyEmptyArrays", Ends::inValue, [] { return manyEmptyCollections("NSArray", 20000); }},
        {"ArrayOf2To62", Ends::inError,
         [] { return rootRaw("\xAF\x13" + B::bigEndian(1ull << 62, 8)); }},
        {"TextOf2To40", Ends::inError,
         [] { return rootRaw("\x5F\x13" + B::bigEndian(1ull << 40, 8)); }},
        {"RecordOf200000Keys", Ends::inValue,
         [] {
             B b;
             return b.archive(b.instance(record, B::Pairs(200000, {"key", b.integer(1)})));
         }},
    };
}

class GivenAnAmplifyingArchive : public ::testing::TestWithParam<Case> {
protected:
    void SetUp() override { SampleRecord::registerClass(); }
    void TearDown() override { SampleRecord::letGo(); }
};

TEST_P(GivenAnAmplifyingArchive, WhenReadThenMemoryStaysInProportion) {
    const Bytes bytes = GetParam().build();
    const std::size_t before = live;
    most = before;
    KeyedUnarchiver unarchiver;
    const Value value = unarchiver.unarchive(bytes);
    EXPECT_GT(most, before);
    EXPECT_LE(most - before, 16 * bytes.size() + (1u << 20));
}

/// The count above would also be small if nothing were counted.
TEST(GivenTheCountOfAllocations, WhenATextIsMadeThenItIsCounted) {
    const std::size_t before = live;
    const String text{std::string(1000, 'x')};
    EXPECT_GE(live - before, 1000u);
    const auto number = std::make_unique<std::array<char, 1000>>();
    EXPECT_GE(live - before, 2000u);
}

INSTANTIATE_TEST_SUITE_P(Hostile, GivenAnAmplifyingArchive, ::testing::ValuesIn(amplifyingCases()),
                         nameOf);

}  // namespace
}  // namespace qsml::hostile
