#pragma once
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace qsml {

/// What a program that ran to its end left behind.
struct ProgramRun {
    int exitStatus = -1;  ///< -1 when a signal ended it, 127 when it could not be started
    int signal = 0;
    std::string output;
    std::string errors;
};

struct RunOptions {
    std::vector<std::string> environment = {};  ///< "NAME=VALUE", set for the program only
    std::string input = {};
    std::function<void()> beforeExec = {};  ///< in the child: system calls only
    /// Ends the program with SIGKILL once so many lines of output were read; 0: never. Its pipe
    /// then holds one page, so that it cannot run far ahead of the reader.
    std::size_t killAfterLines = 0;
    /// Closes the reading end once so many lines were read, as `head` does; 0: never.
    std::size_t closeAfterLines = 0;
    bool errorsToTerminal = false;  ///< standard error is a terminal
};

namespace detail {

[[noreturn]] inline void failRun(const char* what) {
    throw std::runtime_error(std::string(what) + " failed");
}

/// An unnamed file with that content, at its start.
inline int contentFile(const std::string& content) {
    std::FILE* const file = std::tmpfile();
    if (!file || std::fwrite(content.data(), 1, content.size(), file) != content.size())
        failRun("tmpfile");
    std::fflush(file);
    const int copy = ::dup(::fileno(file));
    std::fclose(file);
    ::lseek(copy, 0, SEEK_SET);
    return copy;
}

/// Both ends of a new terminal.
inline std::pair<int, int> openTerminal() {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0) failRun("posix_openpt");
    const int terminal = ::open(::ptsname(master), O_RDWR | O_NOCTTY);
    if (terminal < 0) failRun("opening the terminal");
    return {master, terminal};
}

/// What is there to read; `fromStart` for a file that the program has written.
inline std::string readAll(int file, bool fromStart) {
    if (fromStart)
        ::lseek(file, 0, SEEK_SET);
    else
        ::fcntl(file, F_SETFL, O_NONBLOCK);
    std::string content;
    char buffer[4096];
    for (ssize_t got; (got = ::read(file, buffer, sizeof buffer)) > 0;)
        content.append(buffer, static_cast<std::size_t>(got));
    return content;
}

[[noreturn]] inline void becomeProgram(const std::vector<std::string>& arguments,
                                       const RunOptions& options, const int (&files)[3]) {
    for (int i = 0; i < 3; ++i) ::dup2(files[i], i);
    for (const std::string& entry : options.environment) ::putenv(const_cast<char*>(entry.c_str()));
    std::vector<char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    if (options.beforeExec) options.beforeExec();
    ::execvp(pointers.front(), pointers.data());
    ::_exit(127);
}

/// Reads until the program closes its output, or until an option says otherwise.
inline std::string readOutput(int& pipe, pid_t child, const RunOptions& options) {
    std::string output;
    std::size_t lines = 0;
    char buffer[4096];
    for (ssize_t got; (got = ::read(pipe, buffer, sizeof buffer)) > 0;) {
        output.append(buffer, static_cast<std::size_t>(got));
        lines += static_cast<std::size_t>(std::count(buffer, buffer + got, '\n'));
        if (options.killAfterLines > 0 && lines >= options.killAfterLines) ::kill(child, SIGKILL);
        if (options.closeAfterLines > 0 && lines >= options.closeAfterLines) break;
    }
    ::close(pipe);
    return output;
}

}  // namespace detail

/// Runs a program to its end; the first argument names it. Throws std::runtime_error when the
/// machine refuses a process or a pipe.
inline ProgramRun runProgram(const std::vector<std::string>& arguments,
                             const RunOptions& options = {}) {
    int output[2];
    if (::pipe2(output, O_CLOEXEC) != 0) detail::failRun("pipe");
    if (options.killAfterLines > 0) ::fcntl(output[1], F_SETPIPE_SZ, 4096);
    const int input = detail::contentFile(options.input);
    auto [reading, writing] =
        options.errorsToTerminal ? detail::openTerminal() : std::pair(detail::contentFile(""), -1);
    if (writing < 0) writing = ::dup(reading);
    const int files[3] = {input, output[1], writing};

    const pid_t child = ::fork();
    if (child < 0) detail::failRun("fork");
    if (child == 0) detail::becomeProgram(arguments, options, files);
    ::close(output[1]);
    ::close(input);

    ProgramRun run;
    run.output = detail::readOutput(output[0], child, options);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (WIFEXITED(status)) run.exitStatus = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
    run.errors = detail::readAll(reading, !options.errorsToTerminal);
    ::close(reading);
    ::close(writing);
    return run;
}

}  // namespace qsml
