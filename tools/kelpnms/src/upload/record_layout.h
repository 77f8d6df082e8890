#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

namespace kelp::nms {

/// The columns of one list's records.
struct RecordLayout {
    using Record = nlohmann::ordered_json;

    /// A column of the table that people read.
    struct Column {
        std::string title;
        std::function<std::string(const Record&)> text;
    };
    std::vector<Column> columns;

    /// The columns of CSV: first the components of the name that get a separate column, then the
    /// attributes.
    std::vector<std::string> components;
    std::vector<std::string> attributes;
};

RecordLayout elementLayout();
RecordLayout portLayout();
RecordLayout equipmentLayout();
RecordLayout linkLayout();

/// Return the value of a component of a name, or "" if the name does not have that component.
std::string componentOf(const nlohmann::ordered_json& name, const std::string& component);

/// Return the text of a CSV cell: a text as it is, any other value as JSON, and "" for an empty
/// list or a missing attribute.
std::string cellOf(const nlohmann::ordered_json& record, const std::string& attribute);

}  // namespace kelp::nms
