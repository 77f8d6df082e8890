#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace kelp::inventory {

/// The beginning of a line in a file.
struct Place {
    std::uint64_t offset = 0;
    std::uint64_t line = 1;
};

/// Reads a file line by line. Throws InventoryFailure if the file cannot be opened or read.
class LineReader {
  public:
    /// 1 MiB. A longer line is truncated, and isCut() is true.
    static constexpr std::size_t kLineBytesMax = 1u << 20;

    explicit LineReader(const std::filesystem::path& file);

    /// Read the next line without its line feed. Returns false at the end.
    bool next(std::string& line);
    bool isCut() const { return isCut_; }

    /// The place of the next line.
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
