#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "support/temporary_directory.h"

namespace kelp::test {

/// The test's own folder, removed with its contents.
using ScratchDir = TemporaryDirectory;

inline void writeFile(const std::filesystem::path& file, const std::string& text) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out.flush())
        throw std::runtime_error("cannot write " + file.string());
}

}  // namespace kelp::test
