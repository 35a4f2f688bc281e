#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace qsml {

/// A program beside the running one, spoken to in lines. Killed and awaited when it goes. Confined
/// to one thread.
class ChildProcess {
public:
    /// Starts `program` of the running program's folder.
    explicit ChildProcess(std::string_view program);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void send(std::string_view line);
    /// The next line; nothing when the child has ended.
    std::optional<std::string> receive();
    /// Sends a line and returns the answer; "(ended)" when there is none.
    std::string ask(std::string_view line);
    /// Whether a line comes within the time. For "nothing comes" only: elsewhere receive() waits.
    bool answersWithin(int milliseconds);

    void kill();
    /// Its exit status, or minus the signal that ended it.
    int wait();

private:
    int process_ = -1;
    int input_ = -1;
    int output_ = -1;
    int status_ = 0;
    std::string buffer_;
};

}  // namespace qsml
