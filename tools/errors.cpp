#include "tools/errors.h"

#include <fmt/format.h>

#include <csignal>
#include <cstdio>

namespace OrvelTool {
namespace {

volatile std::sig_atomic_t caughtSignal = 0;

std::string oneLine(std::string_view where, std::string_view what, std::string_view hint) {
    return printable(fmt::format("{}: {}{}{}", where, what, hint.empty() ? "" : "; ", hint));
}

}  // namespace

std::string printable(std::string_view text) {
    std::string masked(text);
    for (char& c : masked)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    return masked;
}

ToolError::ToolError(ExitCode code, std::string_view where, std::string_view what, std::string_view hint)
    : std::runtime_error(oneLine(where, what, hint)), code_(code) {}

void catchSignals() {
    struct sigaction action = {};
    action.sa_handler = [](int signal) { caughtSignal = signal; };
    // No SA_RESTART: a read that waits for a pipe must return to be able to notice.
    for (int signal : {SIGINT, SIGTERM}) sigaction(signal, &action, nullptr);
    struct sigaction inherited = {};
    sigaction(SIGHUP, &action, &inherited);
    if (inherited.sa_handler == SIG_IGN) sigaction(SIGHUP, &inherited, nullptr);
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
}

void throwIfInterrupted() {
    if (caughtSignal != 0) throw Interrupted(caughtSignal);
}

void notice(std::string_view where, std::string_view what) {
    fmt::print(stderr, "orvelvis: note: {}\n", oneLine(where, what, {}));
}

}  // namespace OrvelTool
