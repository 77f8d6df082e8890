#include "state/checksum.h"

#include <algorithm>
#include <array>

namespace kelp::state {

namespace {

constexpr std::size_t kDigits = std::size_t{2} * crypto_hash_sha256_BYTES;

}  // namespace

Checksum::Checksum() {
    ::crypto_hash_sha256_init(&state_);
}

void Checksum::add(std::string_view octets) {
    ::crypto_hash_sha256_update(&state_, reinterpret_cast<const unsigned char*>(octets.data()),
                                octets.size());
}

std::string Checksum::end() {
    std::array<unsigned char, crypto_hash_sha256_BYTES> octets{};
    ::crypto_hash_sha256_final(&state_, octets.data());
    std::array<char, kDigits + 1> digits{};
    ::sodium_bin2hex(digits.data(), digits.size(), octets.data(), octets.size());
    return digits.data();
}

bool isChecksum(const std::string& text) {
    return text.size() == kDigits && std::all_of(text.begin(), text.end(), [](char each) {
               return (each >= '0' && each <= '9') || (each >= 'a' && each <= 'f');
           });
}

}  // namespace kelp::state
