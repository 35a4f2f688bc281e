#pragma once
#include <gtest/gtest.h>

#include "core/PLXDatabaseObject.h"
#include "core/PLXFileBookmark.h"
#include "core/ValueObject.h"
#include "testing/foreignArchive.h"
#include "testing/recordArchives.h"

namespace qsml {

/// What a key of an archive may hold for its property to take it.
enum class Takes : std::uint8_t {
    whole,
    real,
    boolean,
    boxedNumber,
    text,
    date,
    url,
    data,
    array,
    set,
    orderedSet,
    arrayOrOrderedSet,
    anyCollection,
    object,  ///< of a class that the samples do not have: test the right class by itself
    anything,
};

/// A row of a record's table as it must be: the property's name, which is also its archive key, and
/// its value in a new record. `archived` false: a property without a key.
struct RecordRow {
    const char* name;
    Takes takes;
    Value initial = {};
    bool archived = true;
};

namespace detail {

struct ArchivedSample {
    const char* name;
    Value archived;
    Value read;  ///< as the matching property reads it
};

inline std::vector<ArchivedSample> archivedSamples() {
    const Value::Array texts{Value("a")};
    return {
        {"whole", Value(5), Value(5)},
        {"real", Value(5.5), Value(5.5)},
        {"true", Value(true), Value(true)},
        {"boxed", Value(Dictionary{{"$boxed", Value(5)}}), Value(5)},
        {"nil", Value(Dictionary{{"$nil", true}}), Value()},
        {"null", Value(Null()), Value(Null())},
        {"text", Value("x"), Value("x")},
        {"date", Value(Date{5}), Value(Date{5})},
        {"url", Value(*URL::withString("file:///x")), Value(*URL::withString("file:///x"))},
        {"data", Value(Data(std::vector<std::uint8_t>{1})),
         Value(Data(std::vector<std::uint8_t>{1}))},
        {"array", Value(texts), Value(texts)},
        {"set", Value(ValueSet(texts)), Value(ValueSet(texts))},
        {"orderedSet", Value(OrderedSet<String>{"a"}), Value(OrderedSet<String>{"a"})},
        {"bookmark", foreignObject(PLXFileBookmark::classObject().name()), Value()},
    };
}

inline bool isTaken(Takes takes, const Value& sample) {
    using Kind = Value::Kind;
    const Kind kind = sample.kind();
    switch (takes) {
        case Takes::text:
            return kind == Kind::string;
        case Takes::date:
            return kind == Kind::date;
        case Takes::url:
            return kind == Kind::url;
        case Takes::data:
            return kind == Kind::data;
        case Takes::array:
            return kind == Kind::array;
        case Takes::set:
            return kind == Kind::set;
        case Takes::orderedSet:
            return kind == Kind::orderedSet;
        case Takes::arrayOrOrderedSet:
            return kind == Kind::array || kind == Kind::orderedSet;
        case Takes::anyCollection:
            return sample.isCollection();
        default:
            return false;
    }
}

inline void expectReading(Takes takes, const ArchivedSample& sample, const Value& value) {
    const Value& read = sample.read;
    if (takes == Takes::anything) {
        (void)value.hash();
    } else if (takes == Takes::whole) {
        EXPECT_EQ(value, Value(read.integerValue()));
    } else if (takes == Takes::real) {
        EXPECT_EQ(value, Value(read.floatValue()));
    } else if (takes == Takes::boolean) {
        EXPECT_EQ(value, Value(read.boolValue()));
    } else if (takes == Takes::boxedNumber) {
        EXPECT_EQ(value, Value(std::string_view(sample.name) == "boxed" ? 5 : 0));
    } else if (!isTaken(takes, read)) {
        EXPECT_TRUE(value.isNil()) << "another type was taken: " << value.description();
    } else if (!read.isCollection()) {
        EXPECT_EQ(value, read);
    } else {
        EXPECT_TRUE(value.isCollection());
    }
}

template <class Record>
Value valueOf(const Record& object, std::string_view name) {
    if constexpr (std::derived_from<Record, PLXDatabaseObject>) {
        return object.valueForKey(name);
    } else {
        for (const Property& property : object.valueClass().properties())
            if (property.name == name) return property.value(object);
        ADD_FAILURE() << "no property " << name;
        return {};
    }
}

}  // namespace detail

/// Holds a class against its table: the order and the names of its archive keys, its defaults, and
/// for every kind of value under every key what the property makes of it.
template <class Record>
void expectTable(const std::vector<RecordRow>& rows, const Record& filled) {
    constexpr bool isRecord = std::derived_from<Record, PLXDatabaseObject>;
    std::vector<std::string> keys;
    if constexpr (isRecord) keys.emplace_back("uuid");
    for (const RecordRow& row : rows)
        if (row.archived) keys.emplace_back(row.name);
    auto archived = archivedKeys(filled);
    std::erase(archived, "userChangedCloudKeys");
    EXPECT_EQ(archived, keys);

    const auto made = Record::init();
    for (const RecordRow& row : rows)
        EXPECT_EQ(detail::valueOf(*made, row.name), row.initial) << row.name << " of a new object";

    const std::string className(Record::classObject().name());
    for (const RecordRow& row : rows) {
        if (!row.archived) continue;
        for (const auto& sample : detail::archivedSamples()) {
            SCOPED_TRACE(std::string(row.name) + " holds " + sample.name);
            Dictionary keysOfRoot{{"$class", className}};
            keysOfRoot.set(row.name, sample.archived);
            const auto read = recordFrom<Record>(foreignArchive(keysOfRoot));
            ASSERT_TRUE(read);
            detail::expectReading(row.takes, sample, detail::valueOf(*read, row.name));
        }
    }
}

}  // namespace qsml
