#pragma once
#include <memory>
#include <string>
#include <string_view>

#include "foundation/Error.h"
#include "store/detail/SnapshotState.h"
#include "store/detail/StoredExtension.h"

namespace qsml::detail {

class ConnectionCore;

// One extension made or brought up to date in the connection's write transaction. What answers
// false has filled the error, and the transaction must be rolled back.

using StatePointer = std::shared_ptr<const YapDatabaseExtensionState>;

/// False, with an error that names the extension; `why` is a sentence without its capital.
bool refuse(const std::string& name, std::string_view why, Error* error);
/// False with whatever is known of the cause.
bool failed(ConnectionCore& connection, const std::string& name, Error* error);

/// Reads what is stored, and builds it where it is missing, out of date or unreadable. What holds
/// more than derived data is never dropped: neither for an extension of another kind or format, nor
/// because it is damaged.
bool loadOrBuild(ConnectionCore& connection, const std::shared_ptr<const RegisteredExtension>& one,
                 StatePointer* loaded, Error* error);
/// Builds it from the rows, as was asked for. Where damage keeps it from being rebuilt it is made
/// from nothing, with a warning line when it held more than derived data.
bool buildAgain(ConnectionCore& connection, const std::shared_ptr<const RegisteredExtension>& one,
                StatePointer* loaded, Error* error);
/// Makes the state of an extension that keeps nothing in the file, on states of its parents that
/// need not be the connection's.
StatePointer reloadVolatile(ConnectionCore& connection, const SnapshotState& parents,
                            const std::shared_ptr<const RegisteredExtension>& one, Error* error);

}  // namespace qsml::detail
