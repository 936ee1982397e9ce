#include "tools/analyze/record_writer.h"

#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>

namespace OrvelTool {
namespace {

using Record = nlohmann::ordered_json;

double rounded(double value) {
    return std::round(value * 1000) / 1000 + 0.0;  // no negative zero
}

Record record(std::int64_t frame, const std::optional<PictureMeasures>& measures) {
    Record fields = {{"frame", frame},       {"mean_cost", nullptr}, {"noise", nullptr}, {"level", nullptr},
                     {"scene_cut", nullptr}, {"mean_x", nullptr},    {"mean_y", nullptr}};
    if (!measures) return fields;
    fields["mean_cost"] = rounded(measures->meanCost);
    fields["noise"] = rounded(measures->noise);
    fields["level"] = measures->level;
    fields["scene_cut"] = measures->sceneCut ? 1 : 0;
    fields["mean_x"] = rounded(measures->meanX);
    fields["mean_y"] = rounded(measures->meanY);
    return fields;
}

std::string csvNames(const Record& fields) {
    std::string line;
    for (const auto& field : fields.items()) line += (line.empty() ? "" : ",") + field.key();
    return line + '\n';
}

std::string csvValues(const Record& fields) {
    std::string line;
    for (const auto& field : fields.items()) line += (field.value().is_null() ? "" : field.value().dump()) + ',';
    line.back() = '\n';
    return line;
}

}  // namespace

RecordForm recordForm(const std::string& path, const std::string& form) {
    if (form.empty()) return std::filesystem::path(path).extension() == ".json" ? RecordForm::json : RecordForm::csv;
    return form == "json" ? RecordForm::json : RecordForm::csv;
}

RecordWriter::RecordWriter(const std::string& path, RecordForm form) : file_(path), form_(form) {
    file_.write(form_ == RecordForm::json ? "[" : csvNames(record(0, {})));
}

void RecordWriter::write(const std::optional<PictureMeasures>& measures) {
    const Record fields = record(records_, measures);
    if (form_ == RecordForm::json)
        file_.write((records_ == 0 ? "\n  " : ",\n  ") + fields.dump());
    else
        file_.write(csvValues(fields));
    ++records_;
}

void RecordWriter::finish() {
    if (form_ == RecordForm::json) file_.write("\n]\n");
    file_.commit();
}

}  // namespace OrvelTool
