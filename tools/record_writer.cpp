#include "tools/record_writer.h"

#include <fmt/format.h>

#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <utility>

namespace OrvelTool {
namespace {

using Json = nlohmann::ordered_json;

bool wantsJson(const RecordOutput& output) {
    return output.form.empty() ? std::filesystem::path(output.path).extension() == ".json" : output.form == "json";
}

Json jsonValue(const RecordValue& value) {
    switch (value.kind()) {
        case RecordValue::Kind::number:
            return Json::parse(value.text());
        case RecordValue::Kind::text:
            return value.text();
        default:
            return nullptr;
    }
}

std::string csvText(const std::string& text) {
    if (text.find_first_of(",\"\n") == text.npos) return text;
    std::string quoted = "\"";
    for (char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + '"';
}

// Names of files may hold any bytes.
std::string dumped(const Json& json, int indent = -1) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

template <class T, class Text>
std::string csvLine(const std::vector<T>& fields, Text text) {
    std::string line;
    for (const T& field : fields) line += text(field) + ',';
    line.back() = '\n';
    return line;
}

}  // namespace

RecordValue::RecordValue(std::int64_t number) : kind_(Kind::number), text_(std::to_string(number)) {}

RecordValue::RecordValue(double fraction)
    : kind_(std::isinf(fraction) ? Kind::text : Kind::number),
      text_(std::isinf(fraction) ? "inf" : Json(std::round(fraction * 1000) / 1000 + 0.0).dump()) {
}  // no negative zero

RecordValue::RecordValue(std::string text) : kind_(text.empty() ? Kind::nothing : Kind::text), text_(std::move(text)) {}

RecordValue::RecordValue(const std::optional<std::int64_t>& number) {
    if (number) *this = RecordValue(*number);
}

void printRecord(const std::vector<std::pair<const char*, RecordValue>>& fields, bool json) {
    Json object;
    for (const auto& [name, value] : fields) {
        object[name] = jsonValue(value);
        const bool unknown = value.kind() == RecordValue::Kind::nothing;
        if (!json) fmt::print("{:<13} {}\n", name, unknown ? "unknown" : value.text());
    }
    if (json) fmt::print("{}\n", dumped(object, 2));
}

RecordWriter::RecordWriter(const RecordOutput& output, std::vector<std::string> names)
    : file_(output.path), json_(wantsJson(output)), names_(std::move(names)) {
    file_.write(json_ ? "[" : csvLine(names_, csvText));
}

void RecordWriter::write(const std::vector<RecordValue>& values) {
    if (json_) {
        Json record;
        for (std::size_t i = 0; i < names_.size(); ++i) record[names_[i]] = jsonValue(values.at(i));
        file_.write((begun_ ? ",\n  " : "\n  ") + dumped(record));
    } else {
        file_.write(csvLine(values, [](const RecordValue& value) { return csvText(value.text()); }));
    }
    begun_ = true;
}

void RecordWriter::finish() {
    if (json_) file_.write("\n]\n");
    file_.commit();
}

}  // namespace OrvelTool
