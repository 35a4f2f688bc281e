#pragma once
#include <stdexcept>
#include <string>

#include <QSMediaLibraryData/foundation/Error.h>

namespace qsml::app {

/// Ends a command: what() is the one line that the user reads after "qsml: ", saying what went
/// wrong and what to do next. Thrown by our commands only; the library answers with errors.
class CommandFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    CommandFailure(const std::string& what, const Error& error)
        : std::runtime_error(what + ": " + error.description) {}
};

}  // namespace qsml::app
