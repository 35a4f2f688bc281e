#include <numeric>

#include "Bench.h"
#include "FollowedLibrary.h"
#include "store/YapDatabaseConnection.h"
#include "store/search/YapDatabaseFullTextSearchTransaction.h"
#include "store/views/YapDatabaseSearchResultsView.h"

namespace qsml::bench {
namespace {

constexpr std::size_t everything = std::numeric_limits<std::size_t>::max();

/// The tracks that match, in the order of their titles, at most so many.
std::size_t find(YapDatabaseConnection& connection, const std::string& match, std::size_t limit) {
    std::size_t found = 0;
    connection.read([&](YapDatabaseReadTransaction& transaction) {
        auto* const search =
            transaction.ext<YapDatabaseFullTextSearchTransaction>(PLXDatabaseExtensionSearchIndex);
        std::vector<std::int64_t> rowids;
        require(search && search->rowidsMatching(match, &rowids), "a search failed");
        found = viewOf(transaction, PLXDatabaseExtensionMediaView)
                    .rowidsInOrder(tracksGroup, rowids, limit)
                    .size();
    });
    return found;
}

struct Sweep {
    std::vector<double> seconds;
    std::size_t hits = 0;
};

template <class Search>
Sweep sweep(const Bench& bench, const Search& search) {
    Sweep all;
    for (const SearchQuery& query : bench.data.queries) {
        const std::string match = query.match();
        all.seconds.push_back(timed([&] { all.hits += search(match); }));
    }
    return all;
}

void report(const Bench& bench, const std::string& op, const Sweep& sweep) {
    const auto n = static_cast<double>(sweep.seconds.size());
    const double sum = std::accumulate(sweep.seconds.begin(), sweep.seconds.end(), 0.0);
    bench.report.figure(op + ".mean", "ms", sum / n * 1e3);
    bench.report.figure(op + ".max", "ms", percentile(sweep.seconds, 1) * 1e3);
}

/// How many rows the list of results shows of its first screen on the user interface's connection.
std::size_t showResults(FollowedLibrary& library, const std::string& match) {
    library.commit([&](YapDatabaseReadWriteTransaction& transaction) {
        auto* const results = transaction.ext<YapDatabaseSearchResultsViewTransaction>(
            PLXDatabaseExtensionSearchResultsView);
        require(results != nullptr, "the view of search results is absent");
        if (results) results->performSearchFor(match);
    });
    library.follow();
    std::size_t rows = 0;
    library.interface().read([&](YapDatabaseReadTransaction& transaction) {
        auto& results = viewOf(transaction, PLXDatabaseExtensionSearchResultsView);
        while (rows < 50 && results.rowidAtIndex(rows, tracksGroup)) ++rows;
    });
    return rows;
}

}  // namespace

void measureSearch(const Bench& bench) {
    FollowedLibrary library(bench.file("one.qsml"), YapDatabaseSynchronous::normal);
    const auto searching = [&](std::size_t limit) {
        return sweep(bench, [&library, limit](const std::string& match) {
            return find(library.interface(), match, limit);
        });
    };
    report(bench, "search.warm", searching(50));
    const Sweep first = searching(50);
    report(bench, "search.first", first);
    const Sweep full = searching(everything);
    report(bench, "search.full", full);
    require(first.hits <= full.hits && full.hits > 0, "searches find nothing");
    bench.report.figure("check.search_hits", "rows", static_cast<double>(full.hits));

    const auto show = [&](const std::string& match) { return showResults(library, match); };
    (void)sweep(bench, show);
    const Sweep shown = sweep(bench, show);
    require(shown.hits == first.hits, "the view of results shows other rows than the search");
    report(bench, "search.view", shown);
}

}  // namespace qsml::bench
