#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "upload/record_writer.h"

namespace kelp::nms {

/// The options of the commands that read a list of one kind: elements, ports, equipment, links.
struct ListOptions {
    std::uint32_t batch = 1000;         ///< the how_many of every call
    std::optional<std::string> from;    ///< the first element to read
    std::vector<std::string> elements;  ///< read only these; empty: all
    Format format = Format::Table;
};

/// The options of the command `dump`.
struct DumpOptions {
    std::uint32_t batch = 1000;       ///< the how_many of every call
    std::optional<std::string> from;  ///< begin with the equipment and ports of this element
    std::string file;                 ///< the file to write; empty: standard output
    bool follow = false;              ///< keep the file current
};

}  // namespace kelp::nms
