#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

namespace kelp::nms {

/// How records of one list stand in rows.
struct RecordLayout {
    using Record = nlohmann::ordered_json;

    /// A column of the table for people.
    struct Column {
        std::string title;
        std::function<std::string(const Record&)> text;
    };
    std::vector<Column> columns;

    /// The columns of CSV: components of the name that have one of their own, and the attributes.
    std::vector<std::string> components;
    std::vector<std::string> attributes;
};

RecordLayout elementLayout();
RecordLayout portLayout();
RecordLayout equipmentLayout();
RecordLayout linkLayout();

/// The value of a component of a name, or "" when the name has none such.
std::string componentOf(const nlohmann::ordered_json& name, const std::string& component);

/// The text of a cell of CSV: texts as they are, lists as JSON, an empty list or no value at all as
/// "".
std::string cellOf(const nlohmann::ordered_json& record, const std::string& attribute);

}  // namespace kelp::nms
