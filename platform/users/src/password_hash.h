#pragma once

#include <kelp/users/user_database.h>

#include <string>
#include <string_view>

namespace kelp::users {

/// Maximum length of a password in bytes. Longer ones would make a log-in more expensive.
inline constexpr std::size_t kPasswordBytesMax = 1024;

/// Return the Argon2id hash of a password as text with salt and cost. Throws std::runtime_error
/// when there is not enough memory.
std::string hashOfPassword(std::string_view password, const HashCost& cost);

/// True when `hash` is a hash of `password`. Compares in constant time. False for a text that is
/// not a hash. Throws like hashOfPassword.
bool isPasswordOf(const std::string& hash, std::string_view password);

/// Spend the time that isPasswordOf takes for a hash of this cost.
void spendPasswordCheck(std::string_view password, const HashCost& cost);

}  // namespace kelp::users
