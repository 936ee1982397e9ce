#pragma once
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

namespace OrvelTool {

/// What the program returns to the shell. 128 + signal number after an interruption.
enum class ExitCode {
    done = 0,
    no = 1,            ///< the question that the verb asks was answered with no
    usage = 2,         ///< the command line makes no sense
    badInput = 3,      ///< the input is unreadable, malformed or truncated
    refused = 4,       ///< the parameters cannot be applied to this input
    outputFailed = 5,  ///< the output could not be written
};

/// The text with its control characters masked: one line that no terminal obeys.
std::string printable(std::string_view text);

/// Ends the run. The message is one line: where, what with its value, and what helps; control characters are masked.
class ToolError : public std::runtime_error {
public:
    ToolError(ExitCode code, std::string_view where, std::string_view what, std::string_view hint = {});
    ExitCode code() const noexcept { return code_; }

private:
    ExitCode code_;
};

/// Ends the run after a signal; thrown where waiting or looping code notices it.
class Interrupted : public std::exception {
public:
    explicit Interrupted(int signal) : signal_(signal) {}
    int signal() const noexcept { return signal_; }
    const char* what() const noexcept override { return "interrupted"; }

private:
    int signal_;
};

/// From here on SIGINT, SIGTERM and SIGHUP only leave a mark, so that temporary files get removed, and writing to a
/// closed pipe is an ordinary error. A SIGHUP that the program was started to ignore (nohup) stays ignored.
void catchSignals();
/// Throws Interrupted when a signal left its mark.
void throwIfInterrupted();

/// One line on stderr about something the user should know although the run goes on.
void notice(std::string_view where, std::string_view what);

}  // namespace OrvelTool
