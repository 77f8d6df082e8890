#pragma once

#include <kelp/corbabase/user_database.h>

#include <string>
#include <string_view>

namespace NS_CORBA {

/// The longest password, in bytes: its length is part of what a log-in costs.
inline constexpr std::size_t kPasswordBytesMax = 1024;

/// Argon2id hash of a password, as text with salt and cost. Throws std::runtime_error without the
/// memory for it.
std::string hashOfPassword(std::string_view password, const HashCost& cost);

/// True when `password` gave `hash`; compares in constant time. False for a text that is no hash.
/// Throws like hashOfPassword.
bool isPasswordOf(const std::string& hash, std::string_view password);

/// Takes as long as isPasswordOf for a hash of this cost.
void spendPasswordCheck(std::string_view password, const HashCost& cost);

}  // namespace NS_CORBA
