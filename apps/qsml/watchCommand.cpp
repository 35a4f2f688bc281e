#include <QSMediaLibraryData/database/PLXDatabaseManager.h>
#include <QSMediaLibraryData/foundation/JSON.h>
#include <QSMediaLibraryData/foundation/NotificationCenter.h>
#include <QSMediaLibraryData/store/YapDatabase.h>
#include <QSMediaLibraryData/store/YapDatabaseConnection.h>
#include <QSMediaLibraryData/store/views/YapDatabaseViewMappings.h>
#include <QSMediaLibraryData/store/views/YapDatabaseViewTransaction.h>
#include <fmt/format.h>

#include <csignal>
#include <utility>

#include "CommandFailure.h"
#include "ListedRows.h"
#include "doctorCommands.h"
#include "libraryTransactions.h"
#include "output.h"
#include "printable.h"
#include "shownValues.h"

namespace qsml::app {

namespace {

using Type = ListedChange::Type;

/// Keeps the signals that end the command for wait(). Made before the library's threads are.
class EndSignals {
public:
    EndSignals() {
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGINT);
        sigaddset(&signals_, SIGTERM);
        ::pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    }
    /// True when one came before the time was over.
    bool wait(long milliseconds) const {
        const timespec time = {0, milliseconds * 1'000'000};
        return ::sigtimedwait(&signals_, nullptr, &time) > 0;
    }

private:
    sigset_t signals_{};
};

const char* nameOf(Type type) {
    switch (type) {
        case Type::deleteSection:
            return "deleteSection";
        case Type::insertSection:
            return "insertSection";
        case Type::deleteRow:
            return "delete";
        case Type::insertRow:
            return "insert";
        case Type::moveRow:
            return "move";
        default:
            return "update";
    }
}

std::uint64_t counted(std::uint64_t index) { return index + 1; }

void putPath(Dictionary& line, const char* section, const char* row, IndexPath path) {
    line.set(section, counted(path.section));
    line.set(row, counted(path.row));
}

void putChangeJSON(const char* event, const ListedChange& change) {
    Dictionary line{{"event", event}, {"group", change.group}};
    if (!change.before && !change.after) {
        line.set("section", counted(change.section));
        putJSON(line);
        return;
    }
    if (change.type == Type::moveRow) putPath(line, "fromSection", "fromRow", *change.before);
    const bool isNew = change.type == Type::moveRow || change.type == Type::insertRow;
    putPath(line, "section", "row", isNew ? *change.after : *change.before);
    line.set("collection", change.row.collection);
    line.set("key", change.row.key);
    const Value shown = valueOfJSONText(change.row.shown);
    for (const auto& [name, value] : shown.dictionary()) line.set(name, value);
    putJSON(line);
}

std::string shownText(const ListedRow& row) {
    std::string text;
    const Value shown = valueOfJSONText(row.shown);
    for (const auto& [name, value] : shown.dictionary())
        text += (text.empty() ? "" : " | ") +
                (value.kind() == Value::Kind::string ? value.string().str() : printableJSON(value));
    return printable(text.empty() ? row.key.view() : std::string_view(text));
}

void putChangeText(const char* event, const ListedChange& change) {
    const std::string group = printable(change.group.view());
    const auto row = [](const std::optional<IndexPath>& path) { return counted(path->row); };
    if (!change.before && !change.after)
        putLine(fmt::format("{:<13} {} ({})", event, group, counted(change.section)));
    else if (change.type == Type::moveRow)
        putLine(fmt::format("{:<13} {} {} -> {}  {}", event, group, row(change.before),
                            row(change.after), shownText(change.row)));
    else
        putLine(fmt::format("{:<13} {} {}  {}", event, group,
                            row(change.before ? change.before : change.after),
                            shownText(change.row)));
}

/// The list as it was told last, and how to tell what became of it.
class Watch {
public:
    Watch(const CommonOptions& common, const WatchOptions& options)
        : isJSON_(common.asJSON),
          options_(options),
          connection_(openLibrary(libraryPath(common.library), Opening::existing)),
          uiConnection_(PLXDatabaseManager::sharedManager().uiDatabaseConnection()) {}

    void begin() {
        list_ = read();
        std::uint64_t rows = 0;
        for (const ListedSection& section : list_) rows += section.rows.size();
        if (isJSON_)
            putJSON({{"event", "start"},
                     {"view", String(options_.view)},
                     {"sections", static_cast<std::uint64_t>(list_.size())},
                     {"rows", rows}});
        else
            putLine(fmt::format("{} has {} rows in {} groups; watching until interrupted",
                                printable(options_.view), grouped(rows), list_.size()));
        if (options_.isInitialTold)
            for (const ListedChange& row : changesBetween({}, list_)) put("initial", row);
        flushOutput();
    }

    /// Tells what the user interface's connection has moved to.
    void update() {
        ListedRows now = read();
        for (const ListedChange& change : changesBetween(list_, now)) {
            if (isOver()) break;
            put(nameOf(change.type), change);
            ++told_;
        }
        list_ = std::move(now);
        flushOutput();
    }

    bool isOver() const { return options_.changes > 0 && told_ >= options_.changes; }

    /// Learns of other processes' commits; the library announces them then.
    void look() const {
        readLibrary(connection_, [](YapDatabaseReadTransaction&) {});
    }

private:
    void put(const char* event, const ListedChange& change) const {
        if (isJSON_)
            putChangeJSON(event, change);
        else
            putChangeText(event, change);
    }

    ListedRows read() const {
        ListedRows list;
        readLibrary(uiConnection_, [&](YapDatabaseReadTransaction& transaction) {
            auto* view = transaction.ext<YapDatabaseViewTransaction>(options_.view);
            if (!view) failWithoutView(transaction);
            const auto mappings = mapped(*view, transaction);
            for (const String& group : mappings->visibleGroups())
                list.push_back({group, rowsOf(group, *view, transaction)});
        });
        return list;
    }

    /// A group without rows is no section.
    std::shared_ptr<YapDatabaseViewMappings> mapped(YapDatabaseViewTransaction& view,
                                                    YapDatabaseReadTransaction& transaction) const {
        const std::vector<String> named(options_.groups.begin(), options_.groups.end());
        auto mappings = YapDatabaseViewMappings::initWithGroups(
            named.empty() ? view.allGroups() : named, options_.view);
        mappings->setIsDynamicSectionForAllGroups(true);
        mappings->updateWithTransaction(transaction);
        return mappings;
    }

    static std::vector<ListedRow> rowsOf(const String& group, YapDatabaseViewTransaction& view,
                                         const YapDatabaseReadTransaction& transaction) {
        std::vector<ListedRow> rows;
        view.enumerateKeysInGroup(
            group, [&](std::string_view collection, std::string_view key, std::uint64_t, bool&) {
                const Value object = transaction.objectForKey(key, collection);
                const Dictionary shown = shownValues(object, transaction);
                rows.push_back({String(collection), String(key), printableJSON(Value(shown))});
            });
        return rows;
    }

    [[noreturn]] void failWithoutView(YapDatabaseReadTransaction& transaction) const {
        std::string views;
        for (const std::string& name : connection_->database()->registeredExtensionNames())
            if (transaction.ext<YapDatabaseViewTransaction>(name))
                views += (views.empty() ? "" : ", ") + name;
        throw CommandFailure("the library has no view \"" + options_.view + "\"; it has: " + views);
    }

    bool isJSON_;
    const WatchOptions& options_;
    std::shared_ptr<YapDatabaseConnection> connection_, uiConnection_;
    ListedRows list_;
    std::uint64_t told_ = 0;
};

}  // namespace

int runWatch(const CommonOptions& common, const WatchOptions& options) {
    constexpr long pauseMilliseconds = 250;  // the longest that another process's commit waits
    const EndSignals signals;
    Watch watch(common, options);
    watch.begin();
    bool hasMoved = false;  // what an observer throws would only be logged
    const auto observation = NotificationCenter::defaultCenter().addObserver(
        std::string(PLXUIDatabaseConnectionDidUpdateNotification),
        &PLXDatabaseManager::sharedManager(), [&](const Notification&) { hasMoved = true; });
    do {
        watch.look();
        MainQueue::runPending();
        if (std::exchange(hasMoved, false)) watch.update();
    } while (!watch.isOver() && !signals.wait(pauseMilliseconds));
    return 0;
}

}  // namespace qsml::app
