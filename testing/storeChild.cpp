// A process of its own that works on a store, told by lines on standard input and answering in
// lines: for tests with several processes, kills, other users, limits and exits. Not installed.
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <map>
#include <sstream>
#include <thread>

#include "store/YapDatabaseException.h"
#include "testing/OpenStore.h"
#include "testing/obeyFileModes.h"

namespace qsml {
namespace {

/// The arguments of a command, read in order.
using Arguments = std::istringstream;

template <class T>
T next(Arguments& arguments) {
    T value{};
    arguments >> value;
    return value;
}

std::unique_ptr<StoreOfTexts> store;

std::string outcome(bool done, const Error& error) {
    return done ? "ok" : "failed " + error.description;
}

std::string open(Arguments& arguments) {
    store = std::make_unique<StoreOfTexts>(next<std::string>(arguments));
    Error error;
    return outcome(store->open(&error), error);
}

std::string close(Arguments&) {
    store.reset();
    return "ok";
}

std::string set(Arguments& arguments) {
    const auto key = next<std::string>(arguments), text = next<std::string>(arguments);
    Error error;
    return outcome(store->set(key, text, "texts", &error), error);
}

std::string get(Arguments& arguments) { return store->text(next<std::string>(arguments)); }

/// fill FIRST COUNT SIZE LETTER: rows of one transaction.
std::string fill(Arguments& arguments) {
    const int first = next<int>(arguments), count = next<int>(arguments);
    const auto size = next<std::size_t>(arguments);
    const std::string text(size, next<char>(arguments));
    Error error;
    bool accepted = true;
    const bool done = store->connection().readWrite(
        [&](auto& transaction) {
            for (int row = first; row < first + count; row++)
                accepted &= transaction.setObject(String(text), std::to_string(row), "texts");
        },
        &error);
    return outcome(done && accepted, error);
}

long long number(const String& text) { return text ? std::atoll(text.c_str()) : 0; }

/// One more in the row; its new value, or nothing when the commit failed.
std::optional<long long> incrementOnce(YapDatabaseConnection& connection, const std::string& key) {
    long long value = 0;
    const bool done = connection.readWrite([&](auto& transaction) {
        value = number(transaction.objectForKey(key, "counters").string()) + 1;
        transaction.setObject(String(std::to_string(value)), key, "counters");
    });
    return done ? std::optional(value) : std::nullopt;
}

/// increment KEY COUNT: a commit each, acknowledged one by one.
std::string increment(Arguments& arguments) {
    const auto key = next<std::string>(arguments);
    for (int left = next<int>(arguments); left > 0; left--) {
        const auto value = incrementOnce(store->connection(), key);
        if (!value) return "failed";
        std::cout << "acknowledged " << *value << std::endl;
    }
    return "done";
}

/// watch KEY VALUE: reads until the counter has the value; it must never go back.
std::string watch(Arguments& arguments) {
    const auto key = next<std::string>(arguments);
    const auto last = next<long long>(arguments);
    for (long long seen = 0; seen < last;) {
        long long now = -1;
        store->connection().read([&](auto& transaction) {
            now = number(transaction.objectForKey(key, "counters").string());
        });
        if (now < seen) return "went back to " + std::to_string(now);
        seen = now;
        std::this_thread::yield();
    }
    return "seen";
}

/// hold: stays inside a read-write block until the next line.
std::string hold(Arguments&) {
    Error error;
    const bool done = store->connection().readWrite(
        [](auto& transaction) {
            transaction.setObject("held", "held", "texts");
            std::cout << "holding" << std::endl;
            std::string line;
            std::getline(std::cin, line);
            transaction.rollback();
        },
        &error);
    return outcome(done, error);
}

/// begin: the foreign and own commits that the long-lived read transaction moved over.
std::string begin(Arguments&) {
    int foreign = 0, own = 0;
    for (const auto& commit : store->connection().beginLongLivedReadTransaction())
        (commit->isForeign ? foreign : own)++;
    return std::to_string(foreign) + " foreign, " + std::to_string(own) + " own";
}

std::string checkpoint(Arguments&) {
    Error error;
    return outcome(store->database().checkpoint(&error), error);
}

std::string check(Arguments&) {
    std::string faults = store->faults();
    for (char& c : faults)
        if (c == '\n') c = ';';
    return faults.empty() ? "ok" : faults;
}

/// fork: how many of three operations a forked child is refused with an exception.
std::string forkedChild(Arguments&) {
    const pid_t child = ::fork();
    if (child == 0) {
        int refused = 0;
        const auto attempt = [&](const std::function<void()>& operation) {
            try {
                operation();
            } catch (const YapDatabaseException&) {
                refused++;
            }
        };
        attempt([] { store->connection().read([](auto&) {}); });
        attempt([] { store->connection().readWrite([](auto&) {}); });
        attempt([] { (void)store->database().newConnection(); });
        ::_exit(refused);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? std::to_string(WEXITSTATUS(status)) + " refused" : "killed";
}

/// exit PATH COMMITS: leaves by std::exit() after so many commits, while threads read and write.
/// Everything of the library is its own, the thread pool and the main queue too; the host's part is
/// never destroyed.
std::string exitAmidWork(Arguments& arguments) {
    static std::atomic<int> commits = 0;
    static auto* database = new std::shared_ptr<YapDatabase>(
        YapDatabase::initWithPath(next<std::string>(arguments), plainTexts(), plainTexts()));
    if (!*database) return "failed";
    for (int thread = 0; thread < 3; thread++)
        std::thread([thread, connection = (*database)->newConnection()] {
            for (;;) {
                if (incrementOnce(*connection, "t" + std::to_string(thread))) commits++;
                connection->read([](auto& transaction) { (void)transaction.allCollections(); });
            }
        }).detach();
    const auto connection = (*database)->newConnection();
    const int last = next<int>(arguments);
    while (commits < last) {
        connection->asyncReadWrite([](auto& t) { t.setObject("a", "async", "texts"); });
        connection->read([](auto&) {});
    }
    std::exit(0);
}

std::string setUmask(Arguments& arguments) {
    ::umask(static_cast<mode_t>(std::stoul(next<std::string>(arguments), nullptr, 8)));
    return "ok";
}

std::string obeyModes(Arguments&) { return obeyFileModes() ? "ok" : "failed"; }

/// limit BYTES: of any file that is written; 0 lifts it.
std::string limitFileSize(Arguments& arguments) {
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const auto bytes = next<rlim_t>(arguments);
    limit.rlim_cur = bytes ? bytes : limit.rlim_max;
    return ::setrlimit(RLIMIT_FSIZE, &limit) == 0 ? "ok" : "failed";
}

const std::map<std::string, std::string (*)(Arguments&), std::less<>> commands = {
    {"open", open},
    {"close", close},
    {"set", set},
    {"get", get},
    {"fill", fill},
    {"increment", increment},
    {"watch", watch},
    {"hold", hold},
    {"begin", begin},
    {"checkpoint", checkpoint},
    {"check", check},
    {"fork", forkedChild},
    {"exit", exitAmidWork},
    {"umask", setUmask},
    {"obeyModes", obeyModes},
    {"limit", limitFileSize}};

void run() {
    for (std::string line; std::getline(std::cin, line);) {
        Arguments arguments(line);
        const auto command = commands.find(next<std::string>(arguments));
        std::cout << (command == commands.end() ? "unknown command" : command->second(arguments))
                  << std::endl;
    }
    store.reset();
}

}  // namespace
}  // namespace qsml

int main() { qsml::run(); }
