#pragma once
#include <string>
#include <string_view>

#include <QSMediaLibraryData/foundation/Value.h>

namespace qsml::app {

/// The value as JSON on one line: dates as ISO 8601 texts, a real with the fewest digits that read
/// back to it, data as hexadecimal text. Nil entries of dictionaries and numbers that are not
/// finite are left out; text that is not UTF-8 is escaped as printable() does.
std::string printableJSON(const Value& value);

/// Writes to standard output. Errors are kept for flushOutput().
void put(std::string_view text);
void putLine(std::string_view line);
void putJSON(const Dictionary& object);

/// Pushes out what was put. Throws CommandFailure when any of it could not be written.
void flushOutput();

/// "qsml: LINE" on standard error; control characters are escaped.
void complain(std::string_view line);

/// "1,234,567".
std::string grouped(std::uint64_t number);
/// "5:27" or "1:02:03", to the nearest second; empty for what is no time.
std::string playingTime(double seconds);
/// A place in a track to the millisecond: "0:12.500".
std::string markTime(float seconds);

}  // namespace qsml::app
