#include "Bench.h"
#include "FollowedLibrary.h"
#include "SessionEdits.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"

namespace qsml::bench {

void measureSession(const Bench& bench) {
    FollowedLibrary library(bench.file("one.qsml"), YapDatabaseSynchronous::normal);
    SessionEdits edits(bench.data, library.manager());
    std::vector<double> samples;
    const double took = timed([&] {
        for (const Edit& edit : bench.data.edits) {
            if (edit[0] == "delete") continue;
            samples.push_back(timed([&] {
                library.commit([&](YapDatabaseReadWriteTransaction& transaction) {
                    edits.make(edit, transaction);
                });
                library.follow();  // the rows of the open list and the observer
            }));
        }
    });
    bench.report.figure("session.replay", "ms", took * 1e3);
    bench.report.latencies("session.commit", samples);
    library.background().flushMemory();
    library.background().read(
        [&](YapDatabaseReadTransaction& transaction) { edits.requireStored(transaction); });
}

}  // namespace qsml::bench
