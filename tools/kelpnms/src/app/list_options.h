#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelp::nms {

enum class Format { Table, Csv, Json };

/// The options of the commands that read lists from the EMS.
struct ListOptions {
    std::uint32_t batch = 1000;         ///< the how_many of every call
    std::optional<std::string> from;    ///< the first element to read
    std::vector<std::string> elements;  ///< read only these; empty: all
    Format format = Format::Table;
    std::string file;  ///< the file of a dump; empty: standard output
};

}  // namespace kelp::nms
