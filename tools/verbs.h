#pragma once
#include <CLI/CLI.hpp>

// Each function adds one verb with its options to the program; parsing a command line that names the verb runs it.
namespace OrvelTool {

struct InputOptions;

void addProbe(CLI::App& program);
void addProcess(CLI::App& program);
void addConvert(CLI::App& program);
void addAnalyze(CLI::App& program);
void addPreview(CLI::App& program);

/// The options that describe an input, common to all verbs.
void addInputOptions(CLI::App& verb, InputOptions& options);

}  // namespace OrvelTool
