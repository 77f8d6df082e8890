#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelp::nms {

enum class Format { Table, Csv, Json };

/// What the command line says of the lists to read from the EMS.
struct ListOptions {
    std::uint32_t batch = 1000;         ///< how_many of every call
    std::optional<std::string> from;    ///< the element to begin with
    std::vector<std::string> elements;  ///< these only; none: all
    Format format = Format::Table;
    std::string file;  ///< where a dump goes; empty: standard output
};

}  // namespace kelp::nms
