#include "testing/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <stdexcept>

namespace qsml {
namespace {

struct Pipe {
    int readEnd = -1;
    int writeEnd = -1;
    Pipe() {
        std::array<int, 2> ends;
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("No pipe");
        readEnd = ends[0];
        writeEnd = ends[1];
    }
};

}  // namespace

ChildProcess::ChildProcess(std::string_view program) {
    ::signal(SIGPIPE, SIG_IGN);  // A child that has ended is seen by receive().
    std::string path = std::filesystem::read_symlink("/proc/self/exe").parent_path() / program;
    const Pipe to, from;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, to.readEnd, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, from.writeEnd, STDOUT_FILENO);
    std::array<char*, 2> arguments = {path.data(), nullptr};
    const int failure =
        ::posix_spawn(&process_, path.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(to.readEnd);
    ::close(from.writeEnd);
    input_ = to.writeEnd;
    output_ = from.readEnd;
    if (failure) throw std::runtime_error("Cannot start " + path);
}

ChildProcess::~ChildProcess() {
    kill();
    wait();
    ::close(input_);
    ::close(output_);
}

void ChildProcess::send(std::string_view line) {
    const std::string text = std::string(line) + "\n";
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t written = ::write(input_, text.data() + sent, text.size() - sent);
        if (written < 0 && errno != EINTR) return;
        if (written > 0) sent += static_cast<std::size_t>(written);
    }
}

std::optional<std::string> ChildProcess::receive() {
    for (;;) {
        if (const auto end = buffer_.find('\n'); end != std::string::npos) {
            std::string line = buffer_.substr(0, end);
            buffer_.erase(0, end + 1);
            return line;
        }
        std::array<char, 4096> bytes;
        const ssize_t got = ::read(output_, bytes.data(), bytes.size());
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return std::nullopt;
        buffer_.append(bytes.data(), static_cast<std::size_t>(got));
    }
}

std::string ChildProcess::ask(std::string_view line) {
    send(line);
    return receive().value_or("(ended)");
}

bool ChildProcess::answersWithin(int milliseconds) {
    pollfd output = {output_, POLLIN, 0};
    return buffer_.find('\n') != std::string::npos || ::poll(&output, 1, milliseconds) > 0;
}

void ChildProcess::kill() {
    if (process_ > 0) ::kill(process_, SIGKILL);
}

int ChildProcess::wait() {
    if (process_ <= 0) return status_;
    int status = 0;
    while (::waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = -1;
    status_ = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    return status_;
}

}  // namespace qsml
