#pragma once
#include <functional>
#include <string>
#include <string_view>

#include "foundation/Export.h"

namespace qsml {

/// Receives finished log lines, without a line end. Called from any thread, one call at a time.
/// What a sink itself logs goes to standard error, as does a line whose sink throws. A sink must
/// not wait for another thread that logs.
using LogSink = std::function<void(std::string_view line)>;

/// Replaces the sink and returns the previous one; an empty sink restores the default (standard
/// error). Thread-safe; when it returns, the old sink is not running and will not be called again.
QSML_EXPORT LogSink setLogSink(LogSink sink);

/// Sends "METHOD [Line LINE] MESSAGE" to the sink. Control characters are escaped, so that no text
/// from outside can forge a line, and the message is cut at 4 KiB. Method names and lines are part
/// of the contract: hosts search for them. Thread-safe.
QSML_EXPORT void log(std::string_view method, int line, std::string_view message);
/// The same for a line without a method in front.
QSML_EXPORT void log(std::string_view message);

}  // namespace qsml
