#pragma once

#include <kelp/oplog/security_log.h>

#include <string>
#include <vector>

namespace kelp::ctl {

/// Adds what an argument of --head stands for: a head, or the heads in the lines of a file. Throws
/// std::runtime_error with one line.
void addHeads(const std::string& headOrFile, std::vector<oplog::ChainHead>& heads);

/// Appends a head as a line to a file, which is made when it is missing. Throws std::runtime_error
/// with one line when it is not written for sure.
void exportHead(const oplog::ChainHead& head, const std::string& file);

}  // namespace kelp::ctl
