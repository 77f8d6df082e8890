#pragma once

#include <kelp/changelog/change_log.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace kelp::changelog {

/// FNV-1a with 64 bits. It finds damage, not forgery: a pattern of lost sectors passes it with a
/// probability of 2^-64.
inline std::uint64_t hashed(std::string_view bytes, std::uint64_t hash = 0xcbf29ce484222325) {
    for (const char byte : bytes) {
        hash ^= static_cast<unsigned char>(byte);
        hash *= 0x100000001b3;
    }
    return hash;
}

/// Covers all of a record. The length of the key keeps the bytes of key and content apart.
inline std::int64_t checksumOf(Position position, std::string_view key, std::string_view content) {
    std::uint64_t hash = hashed(std::to_string(position) + ':' + std::to_string(key.size()) + ':');
    hash = hashed(content, hashed(key, hash));
    return static_cast<std::int64_t>(hash);
}

}  // namespace kelp::changelog
