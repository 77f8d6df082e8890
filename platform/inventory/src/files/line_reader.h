#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace kelp::inventory {

/// Where a line of a file begins.
struct Place {
    std::uint64_t offset = 0;
    std::uint64_t line = 1;
};

/// A file read line by line. Throws InventoryFailure when it cannot be opened or read.
class LineReader {
  public:
    /// A longer line is cut there and `isCut` true.
    static constexpr std::size_t kLineBytesMax = 1u << 20;

    explicit LineReader(const std::filesystem::path& file);

    /// Reads the next line, without its line feed. False at the end.
    bool next(std::string& line);
    bool isCut() const { return isCut_; }

    /// Of the line that comes next.
    Place place() const { return place_; }
    void seek(const Place& place);
    std::uint64_t size() const { return size_; }
    const std::filesystem::path& file() const { return file_; }

  private:
    bool fill();

    const std::filesystem::path file_;
    std::ifstream stream_;
    std::uint64_t size_ = 0;
    std::string buffer_;
    std::size_t used_ = 0;
    Place place_;
    bool isCut_ = false;
};

}  // namespace kelp::inventory
