// qsml_make_golden FILE: writes the file that testing/golden keeps of a format. Run once for each
// new format.
#include <unistd.h>

#include <iostream>

#include "testing/OpenStore.h"
#include "testing/goldenRows.h"

namespace qsml {
namespace {

bool makeGolden(const std::string& path) {
    Error error;
    StoreOfTexts store(path);
    const bool done =
        store.open(&error) &&
        store.connection().readWrite(
            [](auto& transaction) {
                for (const auto& row : goldenRows())
                    transaction.setObject(row.text, row.key, row.collection, row.metadata);
            },
            &error) &&
        store.database().checkpoint(&error);
    if (!done) std::cerr << error.description << "\n";
    store.close();
    for (const char* suffix : {"-wal", "-shm", "-lock"}) ::unlink((path + suffix).c_str());
    return done;
}

}  // namespace
}  // namespace qsml

int main(int count, char** arguments) {
    if (count == 2) return qsml::makeGolden(arguments[1]) ? 0 : 1;
    std::cerr << "usage: qsml_make_golden FILE\n";
    return 2;
}
