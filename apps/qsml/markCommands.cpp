#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemUserData.h>
#include <fmt/format.h>

#include <algorithm>

#include "CommandFailure.h"
#include "Table.h"
#include "output.h"
#include "printable.h"
#include "trackUserData.h"
#include "userDataCommands.h"

namespace qsml::app {

namespace {

/// What cue points and loops do not share.
struct Cues {
    using Mark = PLXCuePoint;
    static constexpr const char* name = "cue";
    static const auto& of(const PLXMediaItemUserData& data) { return data.cuePoints(); }
    template <class List>
    static void set(PLXMediaItemUserData& data, const List& list) {
        data.setCuePoints(list);
    }
    static auto made(std::int64_t number, const MarkOptions& options, const String& comment) {
        return Mark::initWithNumber(number, options.time, comment);
    }
    static std::vector<std::string> times(const Mark& mark) { return {markTime(mark.time())}; }
    static std::vector<Table::Column> columns() { return {{"Time", 14, true}}; }
};

struct Loops {
    using Mark = PLXLoopRegion;
    static constexpr const char* name = "loop";
    static const auto& of(const PLXMediaItemUserData& data) { return data.loopRegions(); }
    template <class List>
    static void set(PLXMediaItemUserData& data, const List& list) {
        data.setLoopRegions(list);
    }
    static auto made(std::int64_t number, const MarkOptions& options, const String& comment) {
        if (options.endTime <= options.time)
            throw CommandFailure("a loop ends after it starts; give an --end above --start");
        return Mark::initWithNumber(number, options.time, options.endTime, comment);
    }
    static std::vector<std::string> times(const Mark& mark) {
        return {markTime(mark.startTime()), markTime(mark.endTime())};
    }
    static std::vector<Table::Column> columns() { return {{"Start", 14, true}, {"End", 14, true}}; }
};

template <class Kind>
using Marks = std::vector<std::shared_ptr<const typename Kind::Mark>>;

template <class Kind>
Marks<Kind> marksOf(const PLXMediaItemUserData* data) {
    return data ? Kind::of(*data).value_or(Marks<Kind>()) : Marks<Kind>();
}

/// Nil instead of a list of none, as a record has it that never had any.
template <class Kind>
void setMarks(PLXMediaItemUserData& data, const Marks<Kind>& marks) {
    Kind::set(data, marks.empty() ? std::nullopt : std::optional(marks));
}

template <class Kind>
auto withNumber(Marks<Kind>& marks, std::int64_t number) {
    return std::find_if(marks.begin(), marks.end(),
                        [&](const auto& mark) { return mark->number() == number; });
}

template <class Kind>
std::int64_t firstFreeNumber(Marks<Kind>& marks) {
    std::int64_t number = 1;
    while (withNumber<Kind>(marks, number) != marks.end()) ++number;
    return number;
}

template <class Mark>
Dictionary valuesOfMark(const PLXMediaItem& track, const Mark& mark) {
    Dictionary values{{"uuid", track.uuid()}, {"number", mark.number()}};
    for (const auto& [key, value] : mark.JSONObjectRepresentation()) values.set(key, value);
    return values;
}

template <class Kind>
std::string told(const typename Kind::Mark& mark) {
    std::string text = fmt::format("{} {} at", Kind::name, mark.number());
    const auto times = Kind::times(mark);
    for (std::size_t i = 0; i < times.size(); ++i) text += (i > 0 ? " to " : " ") + times[i];
    return mark.comment() ? text + " " + printable(mark.comment()) : text;
}

template <class Kind>
void tell(const CommonOptions& common, const char* what, const PLXMediaItem& track,
          const Marks<Kind>& marks) {
    for (const auto& mark : marks)
        if (common.asJSON)
            putJSON(valuesOfMark(track, *mark));
        else
            putLine(fmt::format("{}: {} {}", printable(track.title()), what, told<Kind>(*mark)));
}

/// False when the very same mark is there.
template <class Kind>
bool add(const typename Kind::Mark& mark, bool replaces, PLXMediaItemUserData& data) {
    auto marks = marksOf<Kind>(&data);
    const auto found = withNumber<Kind>(marks, mark.number());
    if (found == marks.end()) {
        marks.push_back(mark.copy());
    } else {
        if ((*found)->isEqual(mark)) return false;
        if (!replaces)
            throw CommandFailure(told<Kind>(**found) +
                                 " is there already; --replace overwrites it, and without "
                                 "--number a free one is taken");
        *found = mark.copy();
    }
    std::stable_sort(marks.begin(), marks.end(),
                     [](const auto& a, const auto& b) { return a->number() < b->number(); });
    setMarks<Kind>(data, marks);
    return true;
}

template <class Kind>
int runAdd(const CommonOptions& common, const MarkOptions& options) {
    const String comment = typedText(options.comment, "comment");
    Marks<Kind> added;
    const auto edit = [&](PLXMediaItemUserData& data, YapDatabaseReadWriteTransaction&) {
        auto marks = marksOf<Kind>(&data);
        const auto number = options.number.value_or(firstFreeNumber<Kind>(marks));
        added = {Kind::made(number, options, comment)};
        return add<Kind>(*added.front(), options.replaces, data);
    };
    const auto [track, data] = editUserData(common, options.track, edit);
    tell<Kind>(common, "has", *track, added);
    return 0;
}

template <class Kind>
int runList(const CommonOptions& common, const MarkOptions& options) {
    const auto [track, data] = readUserData(common, options.track);
    if (common.asJSON) {
        tell<Kind>(common, "has", *track, marksOf<Kind>(data.get()));
        return 0;
    }
    std::vector<Table::Column> columns = {{"#", 10, true}};
    for (const Table::Column& column : Kind::columns()) columns.push_back(column);
    columns.push_back({"Comment", 60});
    Table table(columns);
    for (const auto& mark : marksOf<Kind>(data.get())) {
        Table::Row row = {std::to_string(mark->number())};
        for (const std::string& time : Kind::times(*mark)) row.push_back(time);
        row.push_back(mark->comment().str());
        table.add(std::move(row));
    }
    return 0;
}

/// All marks of those numbers, which must all be there; without numbers all there are.
template <class Kind>
int runRemove(const CommonOptions& common, const MarkOptions& options) {
    Marks<Kind> removed;
    const auto edit = [&](PLXMediaItemUserData& data, YapDatabaseReadWriteTransaction&) {
        auto marks = marksOf<Kind>(&data);
        removed.clear();
        for (const std::int64_t number : options.numbers)
            if (withNumber<Kind>(marks, number) == marks.end())
                throw CommandFailure(fmt::format(
                    "the track has no {0} {1}; \"qsml {0} list\" shows them", Kind::name, number));
        const auto& numbers = options.numbers;
        const auto goes = [&](const auto& mark) {
            const bool isOne = numbers.empty() || std::find(numbers.begin(), numbers.end(),
                                                            mark->number()) != numbers.end();
            if (isOne) removed.push_back(mark);
            return isOne;
        };
        std::erase_if(marks, goes);
        setMarks<Kind>(data, marks);
        return !removed.empty();
    };
    const auto [track, data] = editUserData(common, options.track, edit);
    tell<Kind>(common, "no longer has", *track, removed);
    return 0;
}

}  // namespace

int runCueAdd(const CommonOptions& common, const MarkOptions& options) {
    return runAdd<Cues>(common, options);
}
int runCueList(const CommonOptions& common, const MarkOptions& options) {
    return runList<Cues>(common, options);
}
int runCueRemove(const CommonOptions& common, const MarkOptions& options) {
    return runRemove<Cues>(common, options);
}
int runCueClear(const CommonOptions& common, const MarkOptions& options) {
    return runRemove<Cues>(common, options);
}
int runLoopAdd(const CommonOptions& common, const MarkOptions& options) {
    return runAdd<Loops>(common, options);
}
int runLoopList(const CommonOptions& common, const MarkOptions& options) {
    return runList<Loops>(common, options);
}
int runLoopRemove(const CommonOptions& common, const MarkOptions& options) {
    return runRemove<Loops>(common, options);
}
int runLoopClear(const CommonOptions& common, const MarkOptions& options) {
    return runRemove<Loops>(common, options);
}

}  // namespace qsml::app
