#pragma once
#include <csignal>
#include <string>
#include <vector>

#include "testing/RunProgram.h"

namespace qsml::app {

/// A qsml that runs beside the test, which reads its lines as they come. Killed when it goes before
/// its end.
class RunningQsml {
public:
    explicit RunningQsml(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), QSML_PROGRAM);
        int output[2];
        if (::pipe2(output, O_CLOEXEC) != 0) qsml::detail::failRun("pipe");
        const int input = qsml::detail::contentFile("");
        const int files[3] = {input, output[1], STDERR_FILENO};
        child_ = ::fork();
        if (child_ < 0) qsml::detail::failRun("fork");
        if (child_ == 0) qsml::detail::becomeProgram(arguments, {}, files);
        ::close(output[1]);
        ::close(input);
        output_ = output[0];
    }
    ~RunningQsml() {
        if (child_ > 0) ::kill(child_, SIGKILL);
        (void)exitStatus();
        ::close(output_);
    }
    RunningQsml(const RunningQsml&) = delete;
    RunningQsml& operator=(const RunningQsml&) = delete;

    /// Waits for a whole line; empty at the end of the output.
    std::string line() {
        std::string line;
        for (char byte = 0; ::read(output_, &byte, 1) == 1;) {
            if (byte == '\n') return line;
            line += byte;
        }
        return line;
    }
    void send(int signal) const { ::kill(child_, signal); }
    /// Waits for the end; -1 when a signal made it.
    int exitStatus() {
        int status = 0;
        if (child_ <= 0 || ::waitpid(child_, &status, 0) != child_) return -1;
        child_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t child_ = -1;
    int output_ = -1;
};

}  // namespace qsml::app
