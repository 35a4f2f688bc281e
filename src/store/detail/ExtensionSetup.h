#pragma once
#include <memory>
#include <string>
#include <vector>

#include "foundation/Error.h"
#include "store/detail/SnapshotState.h"

namespace qsml::detail {

class ConnectionCore;

/// Registers in the connection's write transaction: everything but the commit. False with the error
/// when it cannot be; the transaction must then be rolled back.
bool setUpExtension(ConnectionCore& connection,
                    const std::shared_ptr<YapDatabaseExtension>& extension, const std::string& name,
                    Error* error);
/// Removes the extension and those that depend on it, likewise.
bool tearDownExtension(ConnectionCore& connection, const std::string& name, Error* error);
using RegisteredExtensions = std::vector<std::shared_ptr<const RegisteredExtension>>;
/// The states of a snapshot that another process made, from the tables. Extensions that this
/// process would not have left like that are missing in it.
SnapshotStatePointer loadExtensions(ConnectionCore& connection,
                                    const RegisteredExtensions& registered);
/// Rebuilds those, in a write transaction, before it goes on.
bool repairExtensions(ConnectionCore& connection, const RegisteredExtensions& registered,
                      Error* error);
/// What becomes of extensions whose registration failed.
enum class Missing { stay, areBroughtBack };
/// Builds all that are registered from the rows, whatever state they are in, and the missing ones
/// if these are to be brought back: everything but the commit. Those that keep nothing in the file
/// are made anew after their parents. The commit is announced like one of another process, because
/// anything may look different after it. Nothing happens when there is none.
bool rebuildExtensions(ConnectionCore& connection, Missing missing, Error* error);
/// Marks what is stored of extensions that nobody has registered: from the first write that they
/// miss they are out of date, and will be rebuilt when they are registered again.
bool markOrphans(ConnectionCore& connection, Error* error);

}  // namespace qsml::detail
