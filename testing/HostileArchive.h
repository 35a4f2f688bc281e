#pragma once
#include <gtest/gtest.h>

#include <functional>

#include "foundation/archiveDescription.h"
#include "testing/ArchiveBuilder.h"
#include "testing/SampleRecord.h"

namespace qsml::hostile {

using Bytes = std::vector<std::uint8_t>;
using B = ArchiveBuilder;
constexpr const char* record = "QSMLSampleRecord";

enum class Ends { inError, inNil, inValue };

struct Case {
    const char* name;
    Ends ends;
    std::function<Bytes()> build;
    const char* reason = "";  // part of the error's description
};

inline Bytes sound() {
    B b;
    return b.archive(b.addText("sound"));
}

/// The root is this object, as it is.
inline Bytes rootRaw(const std::string& object) {
    B b;
    return b.archive(b.add(b.raw(object)));
}

/// A record with one property.
inline Bytes property(const char* key, const std::function<B::Ref(B&)>& value) {
    B b;
    const B::Ref made = value(b);
    return b.archive(b.instance(record, {{key, made}}));
}

/// A property that refers to an object.
inline Bytes referred(const char* key, const std::function<std::uint32_t(B&)>& object) {
    return property(key, [&](B& b) { return b.uid(object(b)); });
}

inline Bytes rootOf(const std::function<std::uint32_t(B&)>& object) {
    B b;
    const std::uint32_t root = object(b);
    return b.archive(root);
}

/// One hostile archive, read.
class HostileArchive : public ::testing::TestWithParam<Case> {
protected:
    void SetUp() override {
        static const ArchiveClass abstractClass("QSMLSampleAbstract", &Object::rootClass(),
                                                nullptr);
        ArchiveClass::registerClass(abstractClass);
        SampleRecord::registerClass();
    }
    void TearDown() override { SampleRecord::letGo(); }

    static void expectItsEnd() {
        const Bytes bytes = GetParam().build();
        KeyedUnarchiver unarchiver;
        Error error;
        const Value value = unarchiver.unarchive(bytes, &error);
        if (GetParam().ends == Ends::inError) {
            EXPECT_EQ(error.domain, KeyedUnarchiver::errorDomain);
            EXPECT_NE(error.description.find(GetParam().reason), std::string::npos)
                << error.description;
        } else {
            EXPECT_FALSE(error) << error.description;
        }
        EXPECT_EQ(value.isNil(), GetParam().ends != Ends::inValue);
    }

    static void expectTheNextArchiveReads() {
        KeyedUnarchiver unarchiver;
        unarchiver.unarchive(GetParam().build());
        Error error;
        EXPECT_EQ(unarchiver.unarchive(sound(), &error), Value("sound"));
        EXPECT_FALSE(error);
    }

    static void expectABoundedDescription() {
        const Bytes bytes = GetParam().build();
        Error error;
        const std::string text = archiveDescription(bytes, &error);
        EXPECT_EQ(text.empty(), static_cast<bool>(error));
        EXPECT_LE(text.size(), 6 * (16 * bytes.size() + (1u << 20)));
    }
};

inline std::vector<Case> joined(std::initializer_list<std::vector<Case>> tables) {
    std::vector<Case> all;
    for (const auto& table : tables) all.insert(all.end(), table.begin(), table.end());
    return all;
}

inline std::string nameOf(const ::testing::TestParamInfo<Case>& info) { return info.param.name; }

}  // namespace qsml::hostile
