#include "testing/goldenRows.h"

namespace qsml {

std::vector<GoldenRow> goldenRows() {
    std::vector<GoldenRow> rows = {
        {"texts", "plain", "a text", {}},
        {"texts", "empty", "", {}},
        {"texts",
         "accents",
         "Stra\xC3\x9F"
         "e \xF0\x9F\x8E\xB5",
         {}},
        {"texts", "long", std::string(30'000, 'l'), {}},
        {"texts", "with metadata", "a text", "its metadata"},
        {"", "in the collection without a name", "a text", {}},
        {"quoted \"collection\"", "quoted 'key'", "a text", {}},
        {"texts", "6F9619FF-8B86-D011-B42D-00C04FC964FF", "a UUID as key", {}},
        {"texts", "00112233445566778899aabbccddeeff", "32 hexadecimal digits as key", {}}};
    for (int number = 0; number < 200; number++)
        rows.push_back({"many", std::to_string(number), "row " + std::to_string(number), {}});
    return rows;
}

std::string goldenFolder() { return QSML_GOLDEN_FOLDER; }

}  // namespace qsml
