#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include "tools/analyze/clip_analysis.h"
#include "tools/media/atomic_file.h"

namespace OrvelTool {

enum class RecordForm { csv, json };

/// @param form "csv", "json", or empty: then a path that ends with .json gets JSON and any other one CSV.
RecordForm recordForm(const std::string& path, const std::string& form);

/// Writes a record for each picture: CSV with a line of names at the top, or JSON, an array of objects with the same
/// names, one a line. What a picture does not have is empty in CSV and null in JSON. Fractions have up to three digits.
/// The file appears with finish(). Failures throw ToolError (outputFailed).
class RecordWriter {
public:
    /// @param path "-" for standard output.
    RecordWriter(const std::string& path, RecordForm form);

    void write(const std::optional<PictureMeasures>& measures);
    void finish();

private:
    AtomicFile file_;
    RecordForm form_;
    std::int64_t records_ = 0;
};

}  // namespace OrvelTool
