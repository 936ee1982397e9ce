#pragma once
#include <CLI/CLI.hpp>
#include <string>

// Each function adds one verb with its options to the program; parsing a command line that names the verb runs it.
namespace OrvelTool {

struct ClipOutput;
struct InputOptions;
struct RecordOutput;

void addProbe(CLI::App& program);
void addProcess(CLI::App& program);
void addConvert(CLI::App& program);
void addAnalyze(CLI::App& program);
void addPreview(CLI::App& program);
void addTimeCode(CLI::App& program);
void addMark(CLI::App& program);
void addLines(CLI::App& program);
void addCompare(CLI::App& program);
void addHash(CLI::App& program);

/// The arguments INPUT, and OUTPUT with its format for a clip or for records, in the order of their calls.
void addInput(CLI::App& verb, std::string& path);
void addClipOutput(CLI::App& verb, ClipOutput& output);
void addRecordOutput(CLI::App& verb, RecordOutput& output);
/// The options that describe an input, common to all verbs.
void addInputOptions(CLI::App& verb, InputOptions& options);

}  // namespace OrvelTool
