#pragma once
#include <gtest/gtest.h>

#include <string>

#include "database/PLXDatabaseManager.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"

namespace qsml::app {

/// A library file opened by a test itself, to put into it what no command makes. Closed again when
/// it goes.
class EditedLibrary {
public:
    explicit EditedLibrary(const std::string& path) {
        queue_.suspend();
        YapDatabaseOptions options;
        options.synchronous = YapDatabaseSynchronous::normal;
        options.notificationQueue = &queue_;
        manager_.setDatabaseOptions(options);
        Error error;
        EXPECT_TRUE(manager_.setupDatabaseWithFileURL(URL::fileURLWithPath(path), &error))
            << error.description;
    }
    void write(const YapDatabaseConnection::ReadWriteBlock& block) {
        Error error;
        ASSERT_TRUE(manager_.bgDatabaseConnection()->readWrite(block, &error)) << error.description;
    }

private:
    DispatchQueue queue_{"tests.editing"};
    PLXDatabaseManager manager_;
};

}  // namespace qsml::app
