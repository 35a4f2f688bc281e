#pragma once
#include "foundation/Error.h"

namespace qsml {

/// The content of a property-list file, XML or binary: texts, numbers, bools, dates, data, arrays
/// and dictionaries. For resources that come with the program; records are read by KeyedUnarchiver.
/// Nil, with the error naming file and cause, when the file cannot be read, is larger than 16 MB or
/// is no property list. Thread-safe.
QSML_EXPORT Value propertyListOfFile(const std::string& path, Error* error = nullptr);

}  // namespace qsml
