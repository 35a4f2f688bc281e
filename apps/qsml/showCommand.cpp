#include <QSMediaLibraryData/tracks/PLXMediaItem.h>

#include "findTrack.h"
#include "libraryTransactions.h"
#include "output.h"
#include "printable.h"
#include "recordValues.h"

namespace qsml::app {

namespace {

std::string textOf(const Value& value) {
    if (value.kind() == Value::Kind::string) return printable(value.string());
    if (value.kind() == Value::Kind::date) return iso8601(*value.date()).str();
    if (!value.isCollection()) return printableJSON(value);
    std::string all;
    for (const Value& element : value.elements())
        all += (all.empty() ? "" : ", ") + textOf(element);
    return all;
}

void putText(const Dictionary& values, const std::string& indent = "") {
    constexpr std::size_t width = 26;
    for (const auto& [key, value] : values) {
        if (value.kind() == Value::Kind::dictionary) {
            putLine(indent + key.string().str());
            putText(value.dictionary(), indent + "  ");
        } else if (!value.isNil()) {
            putLine(fitted(indent + key.string().str(), width) + textOf(value));
        }
    }
}

}  // namespace

int runShow(const CommonOptions& common, const std::string& which) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        const auto track = findTrack(which, transaction);
        const Dictionary values = valuesOf(*track, transaction);
        if (common.asJSON)
            putJSON(values);
        else
            putText(values);
    });
    return 0;
}

}  // namespace qsml::app
