#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

#include "iterators/lists.h"

namespace kelp::bench {

/// The options of iterator_bench: what to upload and how often.
struct UploadOptions {
    bool elements = true;    ///< one list of all elements
    bool ports = true;       ///< long lists: few elements with many ports each
    bool shortLists = true;  ///< one element's ports at a time, as in a real network
    bool json = false;

    std::size_t elementCount = 100000;
    std::size_t portCount = 1000000;
    std::size_t longLists = 10;  ///< elements that share all ports in the network with long lists
    std::vector<CORBA::ULong> batches = {1, 100, 1000, 5000};
    std::size_t rounds = 20;         ///< each round uploads one list from each server
    CORBA::ULong endsBatch = 1000;   ///< batch size for comparing the ends of a list
    std::size_t shareOfOnes = 5000;  ///< entries of a list to fetch one by one
    /// port lists that the floor has in the network with short lists
    std::size_t shortListsKept = 20000;
    std::size_t shortListsARound = 1000;
    /// folder where networks are kept; empty: generated for this run
    std::filesystem::path networks;
};

/// Parse the command line. Returns none when the program must exit at once; `exitCode` is then set.
std::optional<UploadOptions> parseUploadOptions(int argc, char** argv, int& exitCode);

}  // namespace kelp::bench
