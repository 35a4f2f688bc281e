#pragma once
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "testing/LogCapture.h"
#include "testing/OpenLibrary.h"
#include "testing/failingCalls.h"

namespace qsml {

/// Libraries whose files fail on demand: one operation, tried again and again on a new library with
/// another call of the system failing.
class FaultyLibrary {
public:
    using Step = std::function<void(PLXDatabaseManager&)>;

    FaultyLibrary() {
        files().skipSyncs();
        queue_.suspend();
    }

    /// Runs before the operation on the library opened anew, with no call failing.
    Step arrange;

    /// Prepares a library and opens it anew, runs the operation with call 1 of that kind failing,
    /// opens it once more and verifies; then with call 2, until the operation meets no failure.
    /// How many met one.
    std::uint64_t forEachFailingCall(FaultyFiles::Fault fault, const Step& prepare,
                                     const Step& operation, const Step& verify) {
        FailingRun run;
        run.prepare = [&] {
            path_ = directory_.file(std::to_string(++tries_) + ".qsml");
            open();
            if (prepare) prepare(*manager_);
            open();
            if (arrange) arrange(*manager_);
        };
        run.operation = [&] { operation(*manager_); };
        run.verify = [&] {
            open();
            verify(*manager_);
        };
        const auto failures = qsml::forEachFailingCall(files(), fault, run);
        close();
        return failures;
    }

    /// The same of writes that fail once, and of a disk that is full from some call on.
    std::uint64_t forEachFailingWrite(const Step& prepare, const Step& operation,
                                      const Step& verify) {
        using Repeat = FaultyFiles::Repeat;
        using Kind = FaultyFiles::Kind;
        constexpr FileCall writing = FileCall::write | FileCall::truncate;
        return forEachFailingCall({writing, 1, Repeat::once, Kind::ioError}, prepare, operation,
                                  verify) +
               forEachFailingCall({writing, 1, Repeat::forever, Kind::diskFull}, prepare, operation,
                                  verify);
    }

    /// The same of reads that fail, and of reads that find the file cut short, which SQLite takes
    /// for damage.
    std::uint64_t forEachFailingRead(const Step& prepare, const Step& operation,
                                     const Step& verify) {
        FaultyFiles::Fault cutShort{FileCall::read};
        cutShort.kind = FaultyFiles::Kind::shortRead;
        return forEachFailingCall({FileCall::read}, prepare, operation, verify) +
               forEachFailingCall(cutShort, prepare, operation, verify);
    }

private:
    // Never taken out of service: a pool thread may be the last to hold a file.
    static FaultyFiles& files() {
        static FaultyFiles& files = *new FaultyFiles;
        return files;
    }

    void close() {
        manager_.reset();
        queue_.resume();
        queue_.sync([] {});
        queue_.suspend();
    }

    void open() {
        close();
        manager_ = std::make_unique<PLXDatabaseManager>();
        YapDatabaseOptions options;
        options.vfsName = files().vfsName();
        options.notificationQueue = &queue_;
        manager_->setDatabaseOptions(options);
        Error error;
        ASSERT_TRUE(manager_->setupDatabaseWithFileURL(URL::fileURLWithPath(path_), &error))
            << error.description;
    }

    LogCapture log_;  // the failures are expected
    TemporaryDirectory directory_;
    DispatchQueue queue_{"tests.notifications"};
    std::unique_ptr<PLXDatabaseManager> manager_;
    std::string path_;
    int tries_ = 0;
};

/// Keeps the background connection on the state that is there now until it writes, and commits the
/// block beside it: what the connection's next write reads is new to it.
inline void commitUnseen(PLXDatabaseManager& manager,
                         const YapDatabaseConnection::ReadWriteBlock& block) {
    manager.bgDatabaseConnection()->beginLongLivedReadTransaction();
    EXPECT_TRUE(manager.database()->newConnection()->readWrite(block));
}

/// The shared manager, set up with a library that lasts as long as the process.
inline PLXDatabaseManager& sharedLibrary() {
    static TemporaryDirectory directory;
    auto& manager = PLXDatabaseManager::sharedManager();
    if (!manager.database()) {
        EXPECT_TRUE(manager.setupDatabaseWithFileURL(
            URL::fileURLWithPath(directory.path() + "/library.qsml")));
    }
    return manager;
}

}  // namespace qsml
