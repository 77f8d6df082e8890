#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kelp::test {

/// An entry of an archive as somebody with bad intentions would write it.
struct HostileEntry {
    std::string name;
    std::string content{};
    unsigned type = 0;   ///< of libarchive, such as AE_IFCHR; 0: a regular file
    std::string link{};  ///< target of a link; a regular file with a target is a hard link
    std::optional<std::uint64_t> zeros{};  ///< number of zeros instead of the content
    std::optional<std::uint64_t> hole{};   ///< size of a sparse file instead of the content
};

enum class Compression { None, Gzip, Zstd, ZstdTwice };

/// Write a tar archive with these entries, in this order, as they are.
void writeArchive(const std::filesystem::path& file, const std::vector<HostileEntry>& entries,
                  Compression compression = Compression::Zstd);

/// A manifest entry for a content, in JSON.
std::string manifestEntry(const std::string& name, const std::string& content);
/// A manifest entry that claims a size and a checksum.
std::string manifestClaim(const std::string& name, const std::string& bytes,
                          const std::string& sha256);
/// A manifest with these entries.
std::string manifestWith(const std::vector<std::string>& entries);

}  // namespace kelp::test
