// A process of its own that works on a library, told by lines on standard input and answering in
// lines: for kills and for two processes on one library. Not installed.
#include <atomic>
#include <iostream>
#include <mutex>
#include <sstream>
#include <thread>

#include "database/libraryfaults/SharedWork.h"
#include "foundation/Log.h"

namespace qsml {
namespace {

std::unique_ptr<SharedWork> work;

std::string open(std::istringstream& arguments) {
    std::string path;
    arguments >> path;
    work = std::make_unique<SharedWork>(path);
    Error error;
    return work->open(&error) ? "ok" : "failed " + error.description;
}

/// count FIRST THREADS: each thread counts the plays of a track of its own, until the process is
/// killed; a commit each, acknowledged as "TRACK PLAYS".
std::string count(std::istringstream& arguments) {
    int first = 0, threads = 0;
    arguments >> first >> threads;
    std::mutex output;
    std::vector<std::thread> writers;
    for (int track = first; track < first + threads; ++track)
        writers.emplace_back([&, track] {
            const auto connection = work->library().database().newConnection();
            for (int step = 0;; ++step) {
                const auto plays = work->countPlay(*connection, track, step);
                const std::lock_guard lock(output);
                if (plays) std::cout << track << " " << *plays << std::endl;
            }
        });
    for (auto& writer : writers) writer.join();
    return "never";
}

/// edit PROCESS COUNT: so many commits.
std::string edit(std::istringstream& arguments) {
    std::string process;
    int commits = 0;
    arguments >> process >> commits;
    return work->edit(process, commits) ? "done" : "failed";
}

std::string see(std::istringstream&) { return work->seen(); }

std::string check(std::istringstream&) {
    std::string faults = work->library().faults();
    for (char& c : faults)
        if (c == '\n') c = ';';
    return faults.empty() ? "ok" : faults;
}

void run() {
    setLogSink([](std::string_view) {});
    const std::map<std::string, std::string (*)(std::istringstream&), std::less<>> commands = {
        {"open", open}, {"count", count}, {"edit", edit}, {"see", see}, {"check", check}};
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream arguments(line);
        std::string name;
        arguments >> name;
        const auto command = commands.find(name);
        std::cout << (command == commands.end() ? "unknown command" : command->second(arguments))
                  << std::endl;
    }
    work.reset();
}

}  // namespace
}  // namespace qsml

int main() { qsml::run(); }
