#pragma once
#include <string>

#include "foundation/Value.h"
#include "store/YapDatabaseTransaction.h"

namespace qsml {

/// What of a library's lists is not in its rows.
struct LibraryRules {
    std::string query;   ///< as it is given to the search
    std::string column;  ///< that is searched; empty: any
    std::string word;    ///< that is searched, folded; empty: nothing is found
    bool isPrefix = false;
    int divisor = 2;  ///< see keyIsShown
};

/// A word of which titles and names are made, and what a search makes of it.
struct LibraryWord {
    const char* text;
    const char* folded;
};
inline constexpr LibraryWord libraryWords[] = {
    {"Amber", "amber"}, {"amber", "amber"}, {"blue", "blue"}, {"Écho", "echo"},
    {"echo", "echo"},   {"Zulu", "zulu"},   {"dawn", "dawn"}, {"fire", "fire"}};

/// The title or name of a record that has one.
String nameOfRecord(const Value& object);

/// Whether a row has the word that is searched, by its texts and those of what it refers to.
bool isFound(YapDatabaseReadTransaction& transaction, const Value& object,
             const LibraryRules& rules);

}  // namespace qsml
