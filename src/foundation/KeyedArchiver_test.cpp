#include "foundation/KeyedArchiver.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <limits>

#include "foundation/archiveDescription.h"
#include "testing/SampleRecord.h"

namespace qsml {
namespace {

/// A record that does what a test says.
class Scripted : public Object {
public:
    using Encode = std::function<void(KeyedArchiver&)>;
    explicit Scripted(Encode encode) : encode_(std::move(encode)) {}
    static const ArchiveClass& classObject() {
        static const ArchiveClass base("QSMLScriptedBase", &Object::rootClass(), nullptr);
        static const ArchiveClass itsClass("QSMLScripted", &base, nullptr);
        return itsClass;
    }
    const ArchiveClass& archiveClass() const override { return classObject(); }
    void encodeWithCoder(KeyedArchiver& coder) const override { encode_(coder); }
    bool initWithCoder(KeyedUnarchiver&) override { return false; }

private:
    Encode encode_;
};

/// The archive as an independent reader sees it.
class Independent {
public:
    explicit Independent(std::span<const std::uint8_t> bytes) {
        plist_from_bin(reinterpret_cast<const char*>(bytes.data()),
                       static_cast<std::uint32_t>(bytes.size()), &whole_);
        objects_ = plist_dict_get_item(whole_, "$objects");
    }
    ~Independent() { plist_free(whole_); }
    Independent(const Independent&) = delete;
    Independent& operator=(const Independent&) = delete;

    plist_t whole() const { return whole_; }
    plist_t object(std::uint64_t uid) const {
        return plist_array_get_item(objects_, static_cast<std::uint32_t>(uid));
    }
    std::uint32_t count() const { return plist_array_get_size(objects_); }
    std::uint64_t uid(plist_t dictionary, const char* key) const {
        std::uint64_t value = ~0ull;
        plist_t item = plist_dict_get_item(dictionary, key);
        if (item && plist_get_node_type(item) == PLIST_UID) plist_get_uid_val(item, &value);
        return value;
    }
    plist_t at(plist_t dictionary, const char* key) const { return object(uid(dictionary, key)); }
    plist_t root() const { return at(plist_dict_get_item(whole_, "$top"), "root"); }
    static std::string text(plist_t item) {
        std::uint64_t size = 0;
        const char* bytes = item ? plist_get_string_ptr(item, &size) : nullptr;
        return bytes ? std::string(bytes, size) : "(none)";
    }
    std::string classes(plist_t instance) const {
        plist_t names = plist_dict_get_item(at(instance, "$class"), "$classes");
        std::string all;
        for (std::uint32_t i = 0; i < plist_array_get_size(names); ++i)
            all += text(plist_array_get_item(names, i)) + " ";
        return all;
    }

private:
    plist_t whole_ = nullptr;
    plist_t objects_ = nullptr;
};

class GivenAnArchiver : public ::testing::Test {
protected:
    void SetUp() override { SampleRecord::registerClass(); }
    void TearDown() override { SampleRecord::letGo(); }
    Value roundTrip(const Value& value) {
        Error error;
        const auto bytes = archiver_.archive(value, &error);
        EXPECT_FALSE(error) << error.description;
        const Value made = unarchiver_.unarchive(bytes, &error);
        EXPECT_FALSE(error) << error.description;
        return made;
    }
    std::string describe(const Scripted::Encode& encode) {
        Error error;
        const auto bytes = archiver_.archive(Scripted(encode), &error);
        EXPECT_FALSE(error) << error.description;
        return archiveDescription(bytes);
    }
    KeyedArchiver archiver_;
    KeyedUnarchiver unarchiver_;
    Error error_;
};

TEST_F(GivenAnArchiver, WhenARecordIsReadBackThenItIsEqual) {
    const auto record = filledSampleRecord();
    const Value made = unarchiver_.unarchive(archiver_.archive(*record, &error_), &error_);
    ASSERT_TRUE(made.object()) << error_.description;
    EXPECT_TRUE(made.object()->isEqual(*record));
}

TEST_F(GivenAnArchiver, WhenValuesAreReadBackThenValueAndKindStay) {
    const double infinity = std::numeric_limits<double>::infinity();
    const std::int64_t least = std::numeric_limits<std::int64_t>::min();
    const std::uint8_t bytes[] = {0, 255};
    const Value all[] = {Null(),
                         true,
                         false,
                         0,
                         1,
                         31,
                         32,
                         255,
                         256,
                         65535,
                         65536,
                         std::int64_t{1} << 32,
                         -1,
                         least,
                         std::numeric_limits<std::int64_t>::max(),
                         std::uint64_t{1} << 63,
                         ~std::uint64_t{0},
                         0.1f,
                         0.1,
                         -0.0,
                         infinity,
                         -infinity,
                         std::numeric_limits<float>::denorm_min(),
                         "",
                         "plain",
                         "$null",
                         "na\u00efve \U0001F3A7",
                         std::string_view("a\0b", 3),
                         Date{-1e9},
                         Date{0.5},
                         Data(),
                         Data(bytes),
                         *URL::withString("http://example.org/a%20b"),
                         UUID{{9, 8, 7}},
                         Value::Array{},
                         ValueSet{},
                         OrderedSet<Value>{},
                         Dictionary{}};
    for (const Value& value : all) {
        const Value made = roundTrip(value);
        EXPECT_EQ(made, value) << value.description();
        EXPECT_EQ(made.kind(), value.kind()) << value.description();
    }
    EXPECT_TRUE(std::signbit(roundTrip(-0.0).realValue()));
    EXPECT_TRUE(std::isnan(roundTrip(std::nan("")).realValue()));
    EXPECT_TRUE(roundTrip(Value()).isNil());
}

TEST_F(GivenAnArchiver, WhenIntegersAreWrittenThenInTheSmallestWidth) {
    const std::pair<Value, std::string> all[] = {
        {255, "\x10\xFF"},
        {256, std::string("\x11\x01\x00", 3)},
        {65536, std::string("\x12\x00\x01\x00\x00", 5)},
        {std::int64_t{1} << 32, std::string("\x13\0\0\0\1\0\0\0\0", 9)},
        {-1, "\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"},
        {~std::uint64_t{0},
         std::string("\x14\0\0\0\0\0\0\0\0", 9) + "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}};
    for (const auto& [value, form] : all) {
        const auto bytes = archiver_.archive(value);
        const std::string text(bytes.begin(), bytes.end());
        // Behind the header and "$null" and the UID 0 stands the root's number.
        EXPECT_EQ(text.substr(8 + 6 + 2, form.size()), form) << value.description();
    }
}

TEST_F(GivenAnArchiver, WhenWrittenThenTheTopIsAsReadersExpect) {
    const auto bytes = archiver_.archive(*filledSampleRecord());
    const std::string text = archiveDescription(bytes);
    EXPECT_TRUE(
        text.starts_with("{\"version\":100000,\"archiver\":\"NSKeyedArchiver\","
                         "\"top\":{\"root\":{\"$uid\":1}},\"objects\":[\"$null\","))
        << text;
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 8), "bplist00");
}

TEST_F(GivenAnArchiver, WhenReadIndependentlyThenTheSameIsSeen) {
    const auto record = filledSampleRecord();
    const Independent seen(archiver_.archive(*record));
    ASSERT_TRUE(seen.whole());
    std::uint64_t version = 0;
    plist_get_uint_val(plist_dict_get_item(seen.whole(), "$version"), &version);
    EXPECT_EQ(version, 100000u);
    EXPECT_EQ(Independent::text(plist_dict_get_item(seen.whole(), "$archiver")), "NSKeyedArchiver");
    EXPECT_EQ(Independent::text(seen.object(0)), "$null");
    EXPECT_EQ(seen.classes(seen.root()), "QSMLSampleRecord QSMLSampleBase NSObject ");
    EXPECT_EQ(Independent::text(seen.at(seen.root(), "title")), record->title);
    EXPECT_EQ(seen.classes(seen.at(seen.root(), "artists")), "NSOrderedSet NSObject ");
    EXPECT_EQ(Independent::text(seen.at(seen.at(seen.root(), "artists"), "NS.object.2")), "three");
    EXPECT_EQ(seen.uid(seen.root(), "friend"), 0u);
    double seconds = 0;
    plist_get_real_val(plist_dict_get_item(seen.at(seen.root(), "added"), "NS.time"), &seconds);
    EXPECT_EQ(seconds, 377222400);
}

TEST_F(GivenAnArchiver, WhenThousandsOfObjectsAreWrittenThenWiderReferencesAreRead) {
    for (const std::size_t count : {100u, 300u, 70000u}) {
        Value::Array texts;
        for (std::size_t i = 0; i < count; ++i) texts.emplace_back(String(std::to_string(i)));
        const Value array(std::move(texts));
        EXPECT_EQ(roundTrip(array), array);
        EXPECT_EQ(Independent(archiver_.archive(array)).count(), count + 3);
    }
}

TEST_F(GivenAnArchiver, WhenPythonReadsItThenItSeesTheSame) {
    ASSERT_EQ(std::system("python3 -c 'import plistlib' >/dev/null 2>&1"), 0)
        << "python3 is missing; scripts/deps test installs it";
    const std::string path = ::testing::TempDir() + "qsml-archive-for-python.plist";
    const auto bytes = archiver_.archive(*filledSampleRecord());
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    const std::string command =
        "python3 -c \"import plistlib,sys; d=plistlib.load(open(sys.argv[1],'rb')); "
        "o=d['\\$objects']; r=o[d['\\$top']['root'].data]; c=o[r['\\$class'].data]; "
        "print(c['\\$classes'][0], r['count'], o[r['title'].data].encode('utf-8').hex(), "
        "o[o[r['tags'].data]['NS.objects'][1].data])\" " +
        path;
    FILE* pipe = popen(command.c_str(), "r");
    char line[256] = "";
    EXPECT_TRUE(std::fgets(line, sizeof line, pipe));
    EXPECT_EQ(pclose(pipe), 0);
    EXPECT_STREQ(line, "QSMLSampleRecord 1234567 436166c3a920f09f8ea7206e6967687473 blue\n");
    std::remove(path.c_str());
}

TEST_F(GivenAnArchiver, WhenScalarsAreEncodedThenInline) {
    EXPECT_NE(describe([](auto& coder) {
                  coder.encodeInt64("i", -5);
                  coder.encodeBool("b", true);
                  coder.encodeFloat("f", 0.5f);
                  coder.encodeDouble("d", 0.25);
                  coder.encodeString("s", nullptr);
              }).find("{\"i\":-5,\"b\":true,\"f\":0.5,\"d\":0.25,\"s\":{\"$uid\":0},\"$class\""),
              std::string::npos);
}

TEST_F(GivenAnArchiver, WhenAKeyBeginsWithADollarThenItIsMangled) {
    EXPECT_NE(describe([](auto& coder) { coder.encodeInt64("$class", 1); }).find("{\"$$class\":1,"),
              std::string::npos);
}

TEST_F(GivenAnArchiver, WhenObjectsAreNumberedThenDepthFirstWithTheClassLast) {
    const Scripted inner([](auto& coder) { coder.encodeString("t", "inner"); });
    EXPECT_EQ(
        describe([&](auto& coder) {
            coder.encodeString("a", "one");
            coder.encodeObject("b", &inner);
            coder.encodeString("c", "two");
        }),
        "{\"version\":100000,\"archiver\":\"NSKeyedArchiver\",\"top\":{\"root\":{\"$uid\":1}},"
        "\"objects\":[\"$null\",{\"a\":{\"$uid\":2},\"b\":{\"$uid\":3},\"c\":{\"$uid\":6},"
        "\"$class\":{\"$uid\":5}},\"one\",{\"t\":{\"$uid\":4},\"$class\":{\"$uid\":5}},"
        "\"inner\",{\"$classname\":\"QSMLScripted\",\"$classes\":[\"QSMLScripted\","
        "\"QSMLScriptedBase\",\"NSObject\"]},\"two\"]}");
}

TEST_F(GivenAnArchiver, WhenATextIsSharedThenItIsWrittenOnce) {
    const String text = "shared";
    const std::string described = describe([&](auto& coder) {
        coder.encodeString("a", text);
        coder.encodeString("b", text);
    });
    EXPECT_NE(described.find("{\"a\":{\"$uid\":2},\"b\":{\"$uid\":2},"), std::string::npos);
}

TEST_F(GivenAnArchiver, WhenTemporariesLieAtOneAddressThenEachIsWritten) {
    const std::string described = describe([](auto& coder) {
        coder.encodeString("a", String("first text"));
        coder.encodeString("b", String("other text"));
        coder.encodeValue("c", Value::Array{1});
        coder.encodeValue("d", Value::Array{2});
    });
    EXPECT_NE(described.find("first text"), std::string::npos);
    EXPECT_NE(described.find("other text"), std::string::npos);
    EXPECT_NE(described.find(",1,"), std::string::npos);
    EXPECT_NE(described.find(",2,"), std::string::npos) << described;
}

TEST_F(GivenAnArchiver, WhenAnObjectIsMetTwiceThenItIsWrittenOnce) {
    auto record = SampleRecord::make();
    record->child = record->other = SampleRecord::make();
    const Value made = unarchiver_.unarchive(archiver_.archive(*record));
    const auto& read = static_cast<const SampleRecord&>(*made.object());
    EXPECT_TRUE(read.child.lock());
    EXPECT_EQ(read.child.lock(), read.other.lock());
}

TEST_F(GivenAnArchiver, WhenAnArrayIsSharedThenTheArchiveStaysSmall) {
    Value array = Value::Array{"leaf"};
    for (int i = 0; i < 40; ++i) array = Value::Array{array, array};
    const auto bytes = archiver_.archive(array, &error_);
    EXPECT_FALSE(error_) << error_.description;
    EXPECT_LT(bytes.size(), 4000u);
    EXPECT_FALSE(unarchiver_.unarchive(bytes, &error_).isNil()) << error_.description;
}

TEST_F(GivenAnArchiver, WhenOneTextIsNamedOftenThenTheArchiveCanBeRead) {
    const Value array(Value::Array(100000, Value("again and again")));
    EXPECT_EQ(roundTrip(array), array);
}

TEST_F(GivenAnArchiver, WhenAClassIsRenamedThenTheArchiveSaysTheOtherName) {
    archiver_.setClassName("OldName", SampleRecord::classObject());
    const Independent seen(archiver_.archive(*filledSampleRecord()));
    EXPECT_EQ(seen.classes(seen.root()), "OldName QSMLSampleBase NSObject ");
}

TEST_F(GivenAnArchiver, WhenATextIsNotUTF8ThenTheArchiveFailsAndNamesTheKey) {
    const Scripted damaged([](auto& coder) { coder.encodeString("title", "\xC3("); });
    EXPECT_TRUE(archiver_.archive(damaged, &error_).empty());
    EXPECT_EQ(error_.domain, "KeyedArchiverErrorDomain");
    EXPECT_NE(error_.description.find("title"), std::string::npos) << error_.description;
    for (const char* text : {"\xED\xA0\x80", "\xC0\x80", "\xF4\x90\x80\x80", "\xE2\x82", "\xFF"})
        EXPECT_TRUE(archiver_.archive(Value(text)).empty()) << text;
    EXPECT_FALSE(archiver_.archive(Value("sound again")).empty());
}

TEST_F(GivenAnArchiver, WhenACollectionHoldsNilThenTheArchiveFails) {
    EXPECT_TRUE(archiver_.archive(Value(Value::Array{Value()}), &error_).empty());
    EXPECT_NE(error_.description.find("nil"), std::string::npos) << error_.description;
}

TEST_F(GivenAnArchiver, WhenNestedDeeperThan512ThenTheArchiveFails) {
    Value array = Value::Array{};
    for (int i = 1; i < 512; ++i) array = Value::Array{array};
    EXPECT_FALSE(roundTrip(array).isNil());
    EXPECT_TRUE(archiver_.archive(Value(Value::Array{array}), &error_).empty());
    EXPECT_NE(error_.description.find("512"), std::string::npos) << error_.description;
}

TEST_F(GivenAnArchiver, WhenASharedArrayIsTooDeepAtItsSecondPlaceThenTheArchiveFails) {
    Value deep = Value::Array{};
    for (int i = 1; i < 300; ++i) deep = Value::Array{deep};
    Value other = Value::Array{deep};
    for (int i = 1; i < 300; ++i) other = Value::Array{other};
    EXPECT_TRUE(archiver_.archive(Value(Value::Array{deep, other}), &error_).empty());
    EXPECT_NE(error_.description.find("512"), std::string::npos) << error_.description;
}

TEST_F(GivenAnArchiver, WhenLargerThan64MBThenTheArchiveFails) {
    const std::vector<std::uint8_t> large(65u << 20);
    EXPECT_TRUE(archiver_.archive(Value(Data(large)), &error_).empty());
    EXPECT_NE(error_.description.find("64 MB"), std::string::npos) << error_.description;
}

}  // namespace
}  // namespace qsml
