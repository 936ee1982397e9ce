#include "tools/media/open_media.h"
#include "tools/record_writer.h"
#include "tools/verbs.h"

namespace OrvelTool {

void addInput(CLI::App& verb, std::string& path) {
    verb.add_option("INPUT", path, "file, or - for standard input")->required();
}

void addClipOutput(CLI::App& verb, ClipOutput& output) {
    verb.add_option("OUTPUT", output.path, "file, or - for standard output")->required();
    verb.add_option("--output-format,--to", output.format,
                    "y4m, i420, yv16, hy16, uyvy, yuyv, v216 or bgr; else by extension (- is Y4M)");
}

void addRecordOutput(CLI::App& verb, RecordOutput& output) {
    verb.add_option("OUTPUT", output.path, "file, or - for standard output (default)");
    verb.add_option("--output-format,--to", output.form, "csv or json; else by extension, .json or CSV")
        ->check(CLI::IsMember({"csv", "json"}));
}

void addInputOptions(CLI::App& verb, InputOptions& options) {
    const std::string group = "Input (headerless files, - for standard input)";
    verb.add_option("--size", options.size, "WIDTHxHEIGHT, when the name has no _WIDTHxHEIGHT_")->group(group);
    verb.add_option("--format", options.format, "y4m, i420, yv16, hy16, uyvy, yuyv, v216 or bgr; else by extension")
        ->group(group);
    verb.add_option("--rate", options.rate, "frames a second, such as 25 or 30000/1001")->group(group);
    verb.add_option("--field-order,--scan", options.scan,
                    "progressive, tff or bff (top or bottom field first); also against what a Y4M header tells")
        ->group(group);
    verb.add_option("--odd-chroma", options.oddChroma,
                    "chroma columns of odd widths in headerless planar files, read or written: down (default) for "
                    "(W-1)/2, up for (W+1)/2 as many other programs have it; Y4M is always up")
        ->group(group);
    verb.add_flag("--ignore-tail", options.ignoreTail, "pass over an incomplete frame at the end")->group(group);
}

}  // namespace OrvelTool
