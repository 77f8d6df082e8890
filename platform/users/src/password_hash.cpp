#include "password_hash.h"

#include <sodium.h>

#include <array>
#include <cerrno>
#include <stdexcept>

namespace kelp::users {

namespace {

void startLibrary() {
    static const bool started = ::sodium_init() >= 0;
    if (!started)
        throw std::runtime_error("the cryptography library cannot start");
}

[[noreturn]] void noMemory() {
    throw std::runtime_error("there is not enough memory to hash a password");
}

[[noreturn]] void cannotHash(const HashCost& cost) {
    if (errno == ENOMEM)
        noMemory();
    throw std::runtime_error("password hashing with " + std::to_string(cost.memoryKib) +
                             " KiB and " + std::to_string(cost.passes) + " passes is not possible");
}

}  // namespace

std::string hashOfPassword(std::string_view password, const HashCost& cost) {
    startLibrary();
    std::array<char, crypto_pwhash_STRBYTES> hash{};
    errno = 0;
    if (::crypto_pwhash_str_alg(hash.data(), password.data(), password.size(), cost.passes,
                                std::size_t{cost.memoryKib} * 1024,
                                crypto_pwhash_ALG_ARGON2ID13) != 0)
        cannotHash(cost);
    return hash.data();
}

bool isPasswordOf(const std::string& hash, std::string_view password) {
    startLibrary();
    errno = 0;
    if (::crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0)
        return true;
    if (errno == ENOMEM)
        noMemory();
    return false;
}

void spendPasswordCheck(std::string_view password, const HashCost& cost) {
    (void)hashOfPassword(password, cost);
}

}  // namespace kelp::users
