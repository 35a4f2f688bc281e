#pragma once
#include <gtest/gtest.h>

#include <string>

#include "store/YapDatabase.h"
#include "store/detail/StoreState.h"
#include "store/detail/testing/PlainSqlite.h"

namespace qsml {

/// Plays a commit of another process that changes no row: SQLite alone writes the next snapshot, of
/// which this process knows nothing until its next transaction.
inline void commitElsewhere(YapDatabase& database) {
    const detail::StoreState state{.snapshot = database.snapshot() + 1, .lastRowNumber = 1'000'000};
    EXPECT_EQ(
        PlainSqlite(database.databasePath())
            .query("UPDATE yap SET data='" + state.text() + "' WHERE extension='' AND key='state'"),
        "");
}

}  // namespace qsml
