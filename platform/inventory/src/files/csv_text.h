#pragma once

#include <string>
#include <vector>

#include "files/line_reader.h"

namespace kelp::inventory {

// Comma-separated values (RFC 4180). Lines may end in CR LF or LF.

/// Read the cells of the next record. A record has several lines if a quoted cell contains line
/// ends. Returns false at the end of the file. `problem` describes what is wrong with the record;
/// empty: nothing.
bool nextCsvRecord(LineReader& in, std::vector<std::string>& cells, std::string& problem);

/// The cells as a line of CSV, with CR LF.
std::string csvLine(const std::vector<std::string>& cells);

}  // namespace kelp::inventory
