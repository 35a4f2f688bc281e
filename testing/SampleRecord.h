#pragma once
#include <vector>

#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace qsml {

/// A record with a property of every type that archives know. Its children are owned by a list
/// beside the records, so that cycles, which damaged archives may hold, do not leak. For one thread
/// at a time.
class SampleRecord : public Object {
public:
    static const ArchiveClass& classObject() {
        static const ArchiveClass itsClass("QSMLSampleRecord", &baseClass(),
                                           &SampleRecord::allocate);
        return itsClass;
    }
    static void registerClass() { ArchiveClass::registerClass(classObject()); }
    static std::shared_ptr<Object> allocate() {
        auto made = std::make_shared<SampleRecord>();
        owned().push_back(made);
        return made;
    }
    static std::shared_ptr<SampleRecord> make() {
        return std::static_pointer_cast<SampleRecord>(allocate());
    }
    /// Lets go of all records made so far, also of those that hold themselves.
    static void letGo() {
        for (const auto& record : owned()) record->value = {};
        owned().clear();
    }
    /// All records made so far.
    static std::vector<std::shared_ptr<SampleRecord>>& owned() {
        static std::vector<std::shared_ptr<SampleRecord>> all;
        return all;
    }

    const ArchiveClass& archiveClass() const override { return classObject(); }

    void encodeWithCoder(KeyedArchiver& coder) const override {
        coder.encodeString("uuid", uuid);
        coder.encodeString("title", title);
        coder.encodeInt64("count", count);
        coder.encodeFloat("tempo", tempo);
        coder.encodeDouble("precise", precise);
        coder.encodeBool("flag", flag);
        coder.encodeDate("added", added);
        coder.encodeData("bytes", bytes);
        coder.encodeURL("place", place);
        coder.encodeOrderedSet("artists", artists);
        coder.encodeSet("tags", tags);
        coder.encodeValue("value", value);
        coder.encodeObject("child", child.lock().get());
        coder.encodeObject("friend", other.lock().get());
    }

    bool initWithCoder(KeyedUnarchiver& coder) override {
        uuid = coder.decodeString("uuid");
        title = coder.decodeString("title");
        count = coder.decodeInt64("count");
        tempo = coder.decodeFloat("tempo");
        precise = coder.decodeDouble("precise");
        flag = coder.decodeBool("flag");
        added = coder.decodeDate("added");
        bytes = coder.decodeData("bytes");
        place = coder.decodeURL("place");
        artists = coder.decodeStrings("artists");
        tags = coder.decodeStrings("tags");
        value = coder.decodeValue("value");
        child = std::static_pointer_cast<SampleRecord>(coder.decodeObject("child", classObject()));
        other = std::static_pointer_cast<SampleRecord>(coder.decodeObject("friend", classObject()));
        return !coder.hasFailed();
    }

    bool isEqual(const Object& object) const override {
        auto* o = dynamic_cast<const SampleRecord*>(&object);
        return o && uuid == o->uuid && title == o->title && count == o->count &&
               tempo == o->tempo && precise == o->precise && flag == o->flag && added == o->added &&
               bytes == o->bytes && place == o->place && artists == o->artists && tags == o->tags &&
               value == o->value && child.expired() == o->child.expired();
    }

    String uuid, title;
    std::int64_t count = 0;
    float tempo = 0;
    double precise = 0;
    bool flag = false;
    std::optional<Date> added;
    std::optional<Data> bytes;
    std::optional<URL> place;
    std::optional<OrderedSet<String>> artists, tags;
    Value value;
    std::weak_ptr<SampleRecord> child, other;

private:
    static const ArchiveClass& baseClass() {
        static const ArchiveClass base("QSMLSampleBase", &Object::rootClass(), nullptr);
        return base;
    }
};

/// One with something in every property.
inline std::shared_ptr<SampleRecord> filledSampleRecord() {
    auto made = SampleRecord::make();
    made->uuid = "6A1B4C70-0B1F-4F8E-9B67-2A6C3D1E5F00";
    made->title = "Caf\u00e9 \U0001F3A7 nights";
    made->count = 1234567;
    made->tempo = 127.3f;
    made->precise = 0.1;
    made->flag = true;
    made->added = Date{377222400};
    const std::uint8_t bytes[] = {0, 1, 2, 254, 255};
    made->bytes = Data(bytes);
    const auto base = URL::withString("file:///music/");
    made->place = URL::withString("a/b.mp3", &*base);
    made->artists = OrderedSet<String>{"one", "two", "three"};
    made->tags = OrderedSet<String>{"red", "blue"};
    made->value = Value::Array{Null(),
                               true,
                               7,
                               -7,
                               std::uint64_t{0x8000000000000001},
                               0.5f,
                               0.25,
                               "text",
                               Date{1.5},
                               Data(bytes),
                               *made->place,
                               UUID{{1, 2, 3}},
                               ValueSet{1, "a"},
                               OrderedSet<Value>{"x", 2},
                               Dictionary{{"key", 1}, {"other", Value::Array{"deep"}}}};
    auto child = SampleRecord::make();
    child->uuid = made->uuid;
    child->title = "child";
    child->other = made;  // a cycle
    made->child = child;
    return made;
}

}  // namespace qsml
