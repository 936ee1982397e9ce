#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/media/atomic_file.h"

namespace OrvelTool {

/// Where records go and in which form, as the command line says it.
struct RecordOutput {
    std::string path = "-";  ///< "-" is standard output
    std::string form;        ///< "csv", "json", or empty: then a path that ends with .json gets JSON, any other one CSV
};

/// A field of a record: a number, a text, or nothing.
class RecordValue {
public:
    enum class Kind { nothing, number, text };

    RecordValue() = default;
    RecordValue(std::int64_t number);
    /// Rounded to three digits; an infinite one is the text "inf".
    RecordValue(double fraction);
    /// An empty text is nothing.
    RecordValue(std::string text);
    RecordValue(const char* text) : RecordValue(std::string(text)) {}
    /// The value, or nothing when there is none.
    RecordValue(const std::optional<std::int64_t>& number);

    Kind kind() const noexcept { return kind_; }
    /// Numbers as JSON and CSV have them.
    const std::string& text() const noexcept { return text_; }

private:
    Kind kind_ = Kind::nothing;
    std::string text_;
};

/// Prints one record to standard output: a line for each field, "unknown" for what there is not, or a JSON object.
void printRecord(const std::vector<std::pair<const char*, RecordValue>>& fields, bool json);

/// Writes records, one for each picture as a rule: CSV with a line of names at the top, or JSON, an array of objects
/// with the same names, one a line. What there is not is empty in CSV and null in JSON. The file appears with finish().
/// Failures throw ToolError (outputFailed).
class RecordWriter {
public:
    /// @param names of the fields of every record.
    RecordWriter(const RecordOutput& output, std::vector<std::string> names);

    /// @param values one for each name.
    void write(const std::vector<RecordValue>& values);
    void finish();

private:
    AtomicFile file_;
    const bool json_;
    const std::vector<std::string> names_;
    bool begun_ = false;
};

}  // namespace OrvelTool
