#pragma once

#include <string>
#include <vector>

#include "files/line_reader.h"

namespace kelp::inventory {

// Comma-separated values by RFC 4180. Lines may end in CR LF or LF.

/// Reads the cells of the next record, which has as many lines as its quoted cells make it. False
/// at the end. `problem` says what is wrong with the record in a few words; empty: nothing.
bool nextCsvRecord(LineReader& in, std::vector<std::string>& cells, std::string& problem);

/// A record as a line with its end.
std::string csvLine(const std::vector<std::string>& cells);

}  // namespace kelp::inventory
