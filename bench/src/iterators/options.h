#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

#include "iterators/lists.h"

namespace kelp::bench {

/// What to upload, how often.
struct UploadOptions {
    bool elements = true;    ///< one list of all elements
    bool ports = true;       ///< long lists: few elements with very many ports
    bool shortLists = true;  ///< an element's ports at a time, as in a real network
    bool json = false;

    std::size_t elementCount = 100000;
    std::size_t portCount = 1000000;
    std::size_t longLists = 10;  ///< elements that have all ports, where the lists are long
    std::vector<CORBA::ULong> batches = {1, 100, 1000, 5000};
    std::size_t rounds = 20;             ///< one list at each server
    CORBA::ULong endsBatch = 1000;       ///< where the ends of a list are compared
    std::size_t shareOfOnes = 5000;      ///< entries of a list that are fetched one by one
    std::size_t shortListsKept = 20000;  ///< port lists that the floor has, where they are short
    std::size_t shortListsARound = 1000;
    std::filesystem::path networks;  ///< folder where they are kept; empty: made for this run
};

/// None when the program is to end at once, with the exit code set.
std::optional<UploadOptions> parseUploadOptions(int argc, char** argv, int& exitCode);

}  // namespace kelp::bench
