#include "foundation/Host.h"

#include <fstream>
#include <mutex>

#include "foundation/text.h"

#if defined(_WIN32)
#include <cstdlib>
#else
#include <unistd.h>
#endif

namespace qsml {
namespace {

struct GivenName {
    std::mutex mutex;
    String name QSML_GUARDED_BY(mutex);
};

// Never destroyed: threads that outlive main() may still ask.
GivenName& givenName() {
    static auto& shared = *new GivenName();
    return shared;
}

/// The value of PRETTY_HOSTNAME in a file of shell assignments; nil without one.
String prettyHostName() {
    std::ifstream file("/etc/machine-info");
    constexpr std::string_view key = "PRETTY_HOSTNAME=";
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with(key)) continue;
        std::string_view value = std::string_view(line).substr(key.size());
        if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
            value.back() == value.front())
            value = value.substr(1, value.size() - 2);
        return isValidUTF8(value) ? chuzzle(value) : String();
    }
    return {};
}

String networkName() {
#if defined(_WIN32)
    const char* name = std::getenv("COMPUTERNAME");
    return chuzzle(name ? name : "");
#else
    char name[256] = {};
    if (gethostname(name, sizeof name - 1) != 0) return {};
    const std::string_view whole = name;
    return chuzzle(whole.substr(0, whole.find('.')));
#endif
}

}  // namespace

String Host::localizedName() {
    {
        const std::lock_guard lock(givenName().mutex);
        if (givenName().name) return givenName().name;
    }
    if (String pretty = prettyHostName()) return pretty;
    return networkName().value_or("localhost");
}

void Host::setLocalizedName(String name) {
    const std::lock_guard lock(givenName().mutex);
    givenName().name = std::move(name);
}

}  // namespace qsml
