#include "tools/media/open_media.h"
#include "tools/record_writer.h"
#include "tools/verbs.h"

namespace OrvelTool {

void addInput(Verb& verb, std::string& path) {
    verb.addOption("INPUT", path, "file, or - for standard input").required();
}

void addClipOutput(Verb& verb, ClipOutput& output) {
    verb.addOption("OUTPUT", output.path, "file, or - for standard output").required();
    verb.addOption("--output-format,--to", output.format,
                   "y4m, i420, yv16, hy16, uyvy, yuyv, v216 or bgr; else by extension (- is Y4M)");
}

void addRecordOutput(Verb& verb, RecordOutput& output) {
    verb.addOption("OUTPUT", output.path, "file, or - for standard output (default)");
    verb.addOption("--output-format,--to", output.form, "csv or json; else by extension, .json or CSV")
        .oneOf({"csv", "json"});
}

void addInputOptions(Verb& verb, InputOptions& options) {
    const std::string group = "Input (headerless files, - for standard input)";
    verb.addOption("--size", options.size, "WIDTHxHEIGHT, when the name has no _WIDTHxHEIGHT_").group(group);
    verb.addOption("--format", options.format, "y4m, i420, yv16, hy16, uyvy, yuyv, v216 or bgr; else by extension")
        .group(group);
    verb.addOption("--rate", options.rate, "frames a second, such as 25 or 30000/1001").group(group);
    verb.addOption("--field-order,--scan", options.scan,
                   "progressive, tff or bff (top or bottom field first); also against what a Y4M header tells")
        .group(group);
    verb.addOption("--odd-chroma", options.oddChroma,
                   "chroma columns of odd widths in headerless planar files, read or written: down (default) for "
                   "(W-1)/2, up for (W+1)/2 as many other programs have it; Y4M is always up")
        .group(group);
    verb.addFlag("--ignore-tail", options.ignoreTail, "pass over an incomplete frame at the end").group(group);
}

}  // namespace OrvelTool
