#include "testing/HostileArchive.h"

namespace qsml::hostile {
namespace {

/// A sound archive with a number of its trailer replaced; positions count from the end.
Bytes trailer(std::size_t fromEnd, int width, std::uint64_t value) {
    Bytes bytes = sound();
    const std::string number = B::bigEndian(value, width);
    std::copy(number.begin(), number.end(), bytes.end() - static_cast<std::ptrdiff_t>(fromEnd));
    return bytes;
}

Bytes huge(int kind, std::uint64_t count) {
    return rootRaw(std::string(1, static_cast<char>(kind | 15)) + "\x13" + B::bigEndian(count, 8));
}

std::vector<Case> headerCases() {
    return {
        {"Nothing", Ends::inError, [] { return Bytes(); }, "empty"},
        {"OneByte", Ends::inError, [] { return Bytes{'b'}; }, "not a binary property list"},
        {"HeaderOnly", Ends::inError, [] { return Bytes{'b', 'p', 'l', 'i', 's', 't', '0', '0'}; }},
        {"Zeros", Ends::inError, [] { return Bytes(4096, 0); }, "not a binary property list"},
        {"AllOnes", Ends::inError, [] { return Bytes(4096, 255); }},
        {"XMLPropertyList", Ends::inError,
         [] {
             const std::string xml =
                 "<?xml version=\"1.0\"?><plist "
                 "version=\"1.0\"><dict><key>$top</key></dict></plist>";
             return Bytes(xml.begin(), xml.end());
         },
         "not a binary property list"},
        {"LaterContainerVersion", Ends::inError,
         [] {
             Bytes bytes = sound();
             bytes[7] = '1';
             return bytes;
         }},
        {"PropertyListWithoutArchive", Ends::inError,
         [] {
             B b;
             return b.finish(b.dictionary({{"key", b.text("value")}}));
         },
         "not a keyed archive"},
        {"PropertyListOfOneText", Ends::inError,
         [] {
             B b;
             return b.finish(b.text("just this"));
         },
         "not a keyed archive"},
    };
}

std::vector<Case> trailerCases() {
    return {
        {"TrailerOffsetWidthZero", Ends::inError, [] { return trailer(26, 1, 0); }, "widths"},
        {"TrailerOffsetWidthNine", Ends::inError, [] { return trailer(26, 1, 9); }, "widths"},
        {"TrailerOffsetWidth255", Ends::inError, [] { return trailer(26, 1, 255); }, "widths"},
        {"TrailerReferenceWidthZero", Ends::inError, [] { return trailer(25, 1, 0); }, "widths"},
        {"TrailerReferenceWidth200", Ends::inError, [] { return trailer(25, 1, 200); }, "widths"},
        {"TrailerReferenceWidthTooSmall", Ends::inError, [] { return trailer(25, 1, 1); }},
        {"TrailerReferenceWidthTooLarge", Ends::inError, [] { return trailer(25, 1, 8); }},
        {"TrailerCountZero", Ends::inError, [] { return trailer(24, 8, 0); }},
        {"TrailerCountOne", Ends::inError, [] { return trailer(24, 8, 1); }},
        {"TrailerCount2To31", Ends::inError, [] { return trailer(24, 8, 1ull << 31); }},
        {"TrailerCount2To63Less1", Ends::inError, [] { return trailer(24, 8, ~0ull >> 1); }},
        {"TrailerCountMost", Ends::inError, [] { return trailer(24, 8, ~0ull); }},
        {"TrailerCountThatOverflowsTimesWidth", Ends::inError,
         [] { return trailer(24, 8, (1ull << 62) + 1); }},
        {"TrailerTopOutside", Ends::inError, [] { return trailer(16, 8, 1000); }, "top object"},
        {"TrailerTopMost", Ends::inError, [] { return trailer(16, 8, ~0ull); }, "top object"},
        {"TrailerTopIsAText", Ends::inError, [] { return trailer(16, 8, 0); }, "keyed archive"},
    };
}

std::vector<Case> offsetTableCases() {
    return {
        {"OffsetTablePastTheEnd", Ends::inError, [] { return trailer(8, 8, 1 << 20); }, "table"},
        {"OffsetTableMost", Ends::inError, [] { return trailer(8, 8, ~0ull); }, "table"},
        {"OffsetTableInTheHeader", Ends::inError, [] { return trailer(8, 8, 0); }, "table"},
        {"OffsetTableAmongTheObjects", Ends::inError, [] { return trailer(8, 8, 9); }},
        {"OffsetTableOneByteLate", Ends::inError,
         [] {
             const Bytes bytes = sound();
             const std::uint64_t at = bytes[bytes.size() - 1] + 256u * bytes[bytes.size() - 2];
             return trailer(8, 8, at + 1);
         }},
        {"OffsetsAllZero", Ends::inError,
         [] {
             Bytes bytes = sound();
             const std::size_t at = bytes[bytes.size() - 1] + 256u * bytes[bytes.size() - 2];
             std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.end() - 32, 0);
             return bytes;
         }},
        {"OffsetsAllMost", Ends::inError,
         [] {
             Bytes bytes = sound();
             const std::size_t at = bytes[bytes.size() - 1] + 256u * bytes[bytes.size() - 2];
             std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.end() - 32, 255);
             return bytes;
         }},
    };
}

std::vector<Case> sizeCases() {
    return {
        {"LargerThan64MB", Ends::inError, [] { return Bytes((64u << 20) + 1, 0); }, "64 MB"},
        {"TextOf2To31", Ends::inError, [] { return huge(0x50, 1ull << 31); }, "damaged"},
        {"TextOf2To63Less1", Ends::inError, [] { return huge(0x50, ~0ull >> 1); }, "damaged"},
        {"TextAbove2To63", Ends::inError, [] { return huge(0x50, ~0ull); }, "damaged"},
        {"UTF16Of2To63Less1", Ends::inError, [] { return huge(0x60, ~0ull >> 1); }, "damaged"},
        {"UTF16WhoseSizeOverflows", Ends::inError, [] { return huge(0x60, 1ull << 63); }},
        {"DataOf2To63Less1", Ends::inError, [] { return huge(0x40, ~0ull >> 1); }, "damaged"},
        {"ArrayOf2To62", Ends::inError, [] { return huge(0xA0, 1ull << 62); }, "damaged"},
        {"DictionaryOf2To61", Ends::inError, [] { return huge(0xD0, 1ull << 61); }, "damaged"},
        {"CountThatIsNoInteger", Ends::inError, [] { return rootRaw("\x5F\x23"); }, "damaged"},
        {"CountOf16Bytes", Ends::inError, [] { return rootRaw("\x5F\x14"); }, "damaged"},
    };
}

std::vector<Case> markerCases() {
    return {
        {"MarkerOfASet", Ends::inError, [] { return rootRaw("\xC0"); }, "damaged"},
        {"MarkerOfAnOrderedSet", Ends::inError, [] { return rootRaw("\xB0"); }, "damaged"},
        {"MarkerOfUTF8", Ends::inError, [] { return rootRaw("\x71x"); }, "damaged"},
        {"MarkerOfAURL", Ends::inError, [] { return rootRaw("\x0C"); }, "damaged"},
        {"MarkerOfFill", Ends::inError, [] { return rootRaw("\x0F"); }, "damaged"},
        {"MarkerUnknown", Ends::inError, [] { return rootRaw("\xFF"); }, "damaged"},
        {"IntegerOf32Bytes", Ends::inError, [] { return rootRaw("\x15" + std::string(32, 'x')); },
         "damaged"},
        {"RealOfTwoBytes", Ends::inError, [] { return rootRaw("\x21xx"); }, "damaged"},
        {"RootNullObject", Ends::inError, [] { return rootRaw(std::string(1, '\0')); }, "class"},
    };
}

class HostileContainer : public HostileArchive {};

TEST_P(HostileContainer, WhenReadThenEndsAsItShould) { expectItsEnd(); }

TEST_P(HostileContainer, WhenReadThenTheNextArchiveIsNotAffected) { expectTheNextArchiveReads(); }

TEST_P(HostileContainer, WhenDescribedThenBounded) { expectABoundedDescription(); }

INSTANTIATE_TEST_SUITE_P(Hostile, HostileContainer,
                         ::testing::ValuesIn(joined({headerCases(), trailerCases(),
                                                     offsetTableCases(), sizeCases(),
                                                     markerCases()})),
                         nameOf);

}  // namespace
}  // namespace qsml::hostile
