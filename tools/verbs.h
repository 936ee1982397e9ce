#pragma once
#include <string>

#include "tools/command_line.h"

// Each function adds one verb with its options to the program; parsing a command line that names the verb runs it.
namespace OrvelTool {

struct ClipOutput;
struct InputOptions;
struct RecordOutput;

void addProbe(Verb& program);
void addProcess(Verb& program);
void addConvert(Verb& program);
void addAnalyze(Verb& program);
void addPreview(Verb& program);
void addTimeCode(Verb& program);
void addMark(Verb& program);
void addLines(Verb& program);
void addCompare(Verb& program);
void addHash(Verb& program);

/// The arguments INPUT, and OUTPUT with its format for a clip or for records, in the order of their calls.
void addInput(Verb& verb, std::string& path);
void addClipOutput(Verb& verb, ClipOutput& output);
void addRecordOutput(Verb& verb, RecordOutput& output);
/// The options that describe an input, common to all verbs.
void addInputOptions(Verb& verb, InputOptions& options);

}  // namespace OrvelTool
