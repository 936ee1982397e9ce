// orvelvis: the library's pipeline, conversions and a look at the result, from the command line.
#include <fmt/format.h>

#include <cstdio>
#include <new>

#include "tools/errors.h"
#include "tools/verbs.h"

namespace {

using OrvelTool::ExitCode;

int complain(std::string_view message, ExitCode code) {
    fmt::print(stderr, "orvelvis: {}\n", OrvelTool::printable(message));
    return static_cast<int>(code);
}

void describeProgram(OrvelTool::Verb program) {
    program.footer(
        "Files: Y4M (4:2:0, 4:2:2, 16-bit 4:2:2) and headerless pictures; - is standard input or output.\n"
        "Exit codes: 0 done, 1 the answer is no, 2 usage, 3 input unreadable or truncated, 4 parameters refused,\n"
        "5 output failed, 130 interrupted.");
    OrvelTool::addProbe(program);
    OrvelTool::addProcess(program);
    OrvelTool::addConvert(program);
    OrvelTool::addAnalyze(program);
    OrvelTool::addPreview(program);
    OrvelTool::addTimeCode(program);
    OrvelTool::addMark(program);
    OrvelTool::addLines(program);
    OrvelTool::addCompare(program);
    OrvelTool::addHash(program);
}

int run(OrvelTool::CommandLine& commandLine, int argc, char** argv) {
    try {
        if (!commandLine.run(argc, argv)) return static_cast<int>(ExitCode::done);  // --help
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
            return complain("standard output: cannot be written", ExitCode::outputFailed);
        return static_cast<int>(ExitCode::done);
    } catch (const OrvelTool::UsageError& error) {
        return complain(fmt::format("{}; see orvelvis VERB --help", error.what()), ExitCode::usage);
    } catch (const OrvelTool::ToolError& error) {
        return complain(error.what(), error.code());
    } catch (const OrvelTool::Interrupted& interruption) {
        return 128 + interruption.signal();
    } catch (const std::bad_alloc&) {
        return complain("out of memory; smaller pictures or fewer --threads need less", ExitCode::refused);
    } catch (const std::exception& error) {
        return complain(error.what(), ExitCode::refused);
    }
}

}  // namespace

int main(int argc, char** argv) {
    OrvelTool::catchSignals();
    OrvelTool::CommandLine commandLine("orvelvis", "Processes uncompressed video frames.");
    describeProgram(commandLine.program());
    return run(commandLine, argc, argv);
}
