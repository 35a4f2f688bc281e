#pragma once
#include <gtest/gtest.h>

#include <string>

#include "database/PLXDatabaseManager.h"
#include "testing/TemporaryDirectory.h"

namespace qsml {

/// A library in a temporary directory, kept on disk when the test fails. Commits are announced on a
/// queue of its own, which the test turns with drain().
class OpenLibrary : public ::testing::Test {
protected:
    OpenLibrary() { queue_.suspend(); }

    void SetUp() override {
        manager_.setDatabaseOptions(options());
        Error error;
        ASSERT_TRUE(manager_.setupDatabaseWithFileURL(URL::fileURLWithPath(path()), &error))
            << error.description;
        drain();
    }

    std::string path() const { return directory_.path() + "/library.qsml"; }

    YapDatabaseOptions options() {
        YapDatabaseOptions options;
        options.synchronous = YapDatabaseSynchronous::normal;
        options.notificationQueue = &queue_;
        return options;
    }

    /// Runs the announcements that wait, also those that they cause, on some thread, and waits for
    /// them.
    void drain() {
        queue_.resume();
        for (int turn = 0; turn < 3; ++turn) queue_.sync([] {});
        queue_.suspend();
    }

    TemporaryDirectory directory_;
    DispatchQueue queue_{"tests.notifications"};
    PLXDatabaseManager manager_;
};

}  // namespace qsml
