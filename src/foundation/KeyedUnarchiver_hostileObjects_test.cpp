#include "testing/HostileArchive.h"

namespace qsml::hostile {
namespace {

std::vector<Case> rootCases() {
    return {
        {"Sound", Ends::inValue, sound},
        {"NoRoot", Ends::inNil,
         [] {
             B b;
             return b.finish(b.whole(b.dictionary({}), b.objects()));
         }},
        {"RootNil", Ends::inNil, [] { return B().archive(0); }},
        {"RootOutside", Ends::inError, [] { return B().archive(7); }, "root"},
        {"RootUIDOf16Bytes", Ends::inError,
         [] {
             B b;
             const B::Ref wide = b.raw("\x8F" + std::string(16, '\xFF'));
             return b.finish(b.whole(b.dictionary({{"root", wide}}), b.objects()));
         },
         "root"},
        {"RootInline", Ends::inError,
         [] {
             B b;
             return b.finish(b.whole(b.dictionary({{"root", b.text("x")}}), b.objects()));
         },
         "root"},
    };
}

std::vector<Case> topLevelCases() {
    return {
        {"TopIsAnArray", Ends::inError,
         [] {
             B b;
             return b.finish(b.whole(b.array({}), b.objects()));
         },
         "keyed archive"},
        {"ObjectsIsADictionary", Ends::inError,
         [] {
             B b;
             return b.finish(b.whole(b.dictionary({{"root", b.uid(1)}}), b.dictionary({})));
         },
         "keyed archive"},
        {"ObjectsEmpty", Ends::inError,
         [] {
             B b;
             return b.finish(b.whole(b.dictionary({{"root", b.uid(0)}}), b.array({})));
         },
         "root"},
        {"ObjectsHoldsTheTop", Ends::inError,
         [] {
             B b;
             const B::Ref objects = b.raw(""), top = b.dictionary({{"root", b.uid(1)}});
             const B::Ref whole = b.whole(top, objects);
             b.set(objects, b.arrayBytes({0, whole}));
             return b.finish(whole);
         }},
        {"AnotherVersionAndArchiver", Ends::inValue,
         [] {
             B b;
             const std::uint32_t root = b.addText("fine");
             return b.finish(b.dictionary({{"$top", b.dictionary({{"root", b.uid(root)}})},
                                           {"$archiver", b.text("Somebody")},
                                           {"$objects", b.objects()},
                                           {"$version", b.integer(7)}}));
         }},
    };
}

std::vector<Case> rootObjectCases() {
    return {
        {"ReferenceOutsideTheTable", Ends::inError,
         [] {
             B b;
             const B::Ref objects = b.array({0, 12345678});
             return b.finish(b.whole(b.dictionary({{"root", b.uid(1)}}), objects));
         },
         "damaged"},
        {"RootIsAClassDescription", Ends::inError,
         [] { return rootOf([](B& b) { return b.classNamed("NSArray"); }); }, "without a class"},
        {"RootWithoutClass", Ends::inError,
         [] { return rootOf([](B& b) {
                  return b.add(b.dictionary({{"a", b.integer(1)}}));
              }); },
         "without a class"},
        {"RootEmptyDictionary", Ends::inError,
         [] { return rootOf([](B& b) { return b.add(b.dictionary({})); }); }, "without a class"},
        {"RootRawArray", Ends::inError,
         [] { return rootOf([](B& b) { return b.add(b.array({})); }); }, "without a class"},
        {"RootIsAUID", Ends::inError, [] { return rootOf([](B& b) { return b.add(b.uid(1)); }); },
         "without a class"},
    };
}

std::vector<Case> classCases() {
    return {
        {"ClassNil", Ends::inError,
         [] { return rootOf([](B& b) {
                  return b.add(b.dictionary({{"$class", b.uid(0)}}));
              }); }},
        {"ClassOutside", Ends::inError,
         [] { return rootOf([](B& b) {
                  return b.add(b.dictionary({{"$class", b.uid(99)}}));
              }); },
         "outside"},
        {"ClassIsAText", Ends::inError,
         [] {
             return rootOf([](B& b) {
                 return b.add(b.dictionary({{"$class", b.uid(b.addText("NSArray"))}}));
             });
         },
         "class description"},
        {"ClassIsInline", Ends::inError,
         [] {
             return rootOf([](B& b) { return b.add(b.dictionary({{"$class", b.text("X")}})); });
         }},
        {"ClassIsItself", Ends::inError,
         [] {
             return rootOf([](B& b) {
                 const std::uint32_t self = b.reserve();
                 b.place(self, b.dictionary({{"$class", b.uid(self)}}));
                 return self;
             });
         }},
        {"ClassNameIsANumber", Ends::inError,
         [] {
             return rootOf([](B& b) {
                 const auto c = b.add(b.dictionary({{"$classname", b.integer(1)}}));
                 return b.add(b.dictionary({{"$class", b.uid(c)}}));
             });
         },
         "class description"},
        {"ClassNameMissing", Ends::inError,
         [] {
             return rootOf([](B& b) {
                 const auto c = b.add(b.dictionary({{"$classes", b.array({})}}));
                 return b.add(b.dictionary({{"$class", b.uid(c)}}));
             });
         },
         "class description"},
    };
}

std::vector<Case> unknownClassCases() {
    return {
        {"ClassUnknown", Ends::inError,
         [] { return rootOf([](B& b) { return b.instance("Foo", {}); }); },
         "cannot decode object of class (Foo) for key (root)"},
        {"ClassNameEmpty", Ends::inError,
         [] { return rootOf([](B& b) { return b.instance("", {}); }); }, "class ()"},
        {"ClassWithoutInstances", Ends::inError,
         [] { return rootOf([](B& b) { return b.instance("QSMLSampleAbstract", {}); }); },
         "QSMLSampleAbstract"},
        {"RecordWithoutKeys", Ends::inValue,
         [] { return rootOf([](B& b) { return b.instance(record, {}); }); }},
        {"ChildOfUnknownClass", Ends::inError,
         [] { return referred("child", [](B& b) { return b.instance("Foo", {}); }); },
         "class (Foo) for key (child)"},
        {"UnreadKeyOfUnknownClass", Ends::inValue,
         [] { return referred("nobody", [](B& b) { return b.instance("Foo", {}); }); }},
        {"DateOfUnknownClass", Ends::inError,
         [] { return referred("added", [](B& b) { return b.instance("Foo", {}); }); },
         "class (Foo) for key (added)"},
        {"TextOfUnknownClass", Ends::inError,
         [] { return referred("title", [](B& b) { return b.instance("Foo", {}); }); },
         "class (Foo) for key (title)"},
        {"ElementOfUnknownClass", Ends::inError,
         [] {
             return referred("artists",
                             [](B& b) { return b.collection("NSArray", {b.instance("Foo", {})}); });
         },
         "class (Foo)"},
    };
}

std::vector<Case> referenceCases() {
    return {
        {"ChildIsADate", Ends::inValue,
         [] {
             return referred("child", [](B& b) {
                 return b.instance("NSDate", {{"NS.time", b.real(1)}});
             });
         }},
        {"ChildOutside", Ends::inError,
         [] { return property("child", [](B& b) { return b.uid(4711); }); }, "outside"},
        {"ChildUIDMost", Ends::inError,
         [] { return property("child", [](B& b) { return b.uid(~0ull, 8); }); }, "outside"},
        {"ValueOutsideTheTable", Ends::inError,
         [] { return property("title", [](B&) { return B::Ref{99999}; }); }, "damaged"},
        {"ChildIsItself", Ends::inValue,
         [] {
             return rootOf([](B& b) {
                 const std::uint32_t self = b.reserve();
                 b.place(self, b.instanceRef(record, {{"child", b.uid(self)}}));
                 return self;
             });
         }},
        {"ChildrenOfEachOther", Ends::inValue,
         [] {
             return rootOf([](B& b) {
                 const std::uint32_t one = b.reserve(), two = b.reserve();
                 b.place(one, b.instanceRef(record, {{"child", b.uid(two)}}));
                 b.place(two, b.instanceRef(record, {{"child", b.uid(one)}}));
                 return one;
             });
         }},
        {"DuplicateKeys", Ends::inValue,
         [] {
             return rootOf([](B& b) {
                 return b.instance(record, {{"count", b.integer(1)}, {"count", b.integer(2)}});
             });
         }},
        {"KeyThatIsANumber", Ends::inValue,
         [] {
             B b;
             const auto c = b.uid(b.classNamed(record)), key = b.integer(5);
             const auto text = b.text("$class");
             return b.archive(b.add(b.raw("\xD2" + B::bigEndian(key, 4) + B::bigEndian(text, 4) +
                                          B::bigEndian(key, 4) + B::bigEndian(c, 4))));
         }},
    };
}

class HostileObjects : public HostileArchive {};

TEST_P(HostileObjects, WhenReadThenEndsAsItShould) { expectItsEnd(); }

TEST_P(HostileObjects, WhenReadThenTheNextArchiveIsNotAffected) { expectTheNextArchiveReads(); }

TEST_P(HostileObjects, WhenDescribedThenBounded) { expectABoundedDescription(); }

INSTANTIATE_TEST_SUITE_P(Hostile, HostileObjects,
                         ::testing::ValuesIn(joined({rootCases(), topLevelCases(),
                                                     rootObjectCases(), classCases(),
                                                     unknownClassCases(), referenceCases()})),
                         nameOf);

}  // namespace
}  // namespace qsml::hostile
