#pragma once

#include <kelp/oplog/chain_head.h>

#include <string>
#include <vector>

namespace kelp::ctl {

/// Add the heads that an argument of --head names: the argument is a head, or a file with a head on
/// each line. Throws std::runtime_error with one line.
void addHeads(const std::string& headOrFile, std::vector<oplog::ChainHead>& heads);

/// Append a head as a line to a file, which is created if it is missing. Throws std::runtime_error
/// with one line unless the line is safely on disk.
void exportHead(const oplog::ChainHead& head, const std::string& file);

}  // namespace kelp::ctl
