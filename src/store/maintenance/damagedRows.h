#pragma once
#include <cstdint>
#include <functional>

#include "foundation/Error.h"
#include "store/YapDatabase.h"

namespace qsml::detail {

class ConnectionCore;

/// YapDatabase::setAsideDamagedRows() in the connection's write transaction: everything but the
/// commit. False with the error when nothing may be removed.
bool removeDamagedRows(ConnectionCore& connection,
                       const std::function<bool(const YapDatabase::DamagedRow&)>& keep,
                       std::uint64_t* count, Error* error);

}  // namespace qsml::detail
