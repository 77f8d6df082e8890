#include "password_input.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include "common/hidden_input.h"

namespace kelp::ctl {

namespace {

/// Minimum length. If the database is stolen, an attacker can find a shorter password by trying all
/// of them; lock-outs do not help then.
constexpr std::ptrdiff_t kCharactersMin = 8;

/// Count the characters of UTF-8 text: all octets but those that begin with the bits 10, which
/// continue a character.
std::ptrdiff_t charactersOf(const std::string& text) {
    return std::count_if(text.begin(), text.end(), [](char octet) {
        return (static_cast<unsigned char>(octet) & 0xC0u) != 0x80u;
    });
}

Secret fromTerminal() {
    std::vector<Secret> typed = tools::askHidden({"Password: ", "Password again: "});
    if (typed[0].text() != typed[1].text())
        throw std::runtime_error("the two passwords differ");
    return std::move(typed[0]);
}

Secret fromFile(const std::string& file) {
    bool othersCanRead = false;
    Secret line = tools::firstLineOf(file, othersCanRead);
    if (othersCanRead)
        std::fprintf(stderr, "kelpctl: warning: others can read the password file %s\n",
                     file.c_str());
    return line;
}

Secret notEmpty(Secret password) {
    if (password.text().empty())
        throw std::runtime_error("the password must not be empty");
    return password;
}

}  // namespace

Secret readPassword(const std::string& file, ShortPassword shortOne) {
    Secret password = notEmpty(file.empty() ? fromTerminal() : fromFile(file));
    if (shortOne == ShortPassword::IsRefused && charactersOf(password.text()) < kCharactersMin)
        throw std::runtime_error("the password must have at least " +
                                 std::to_string(kCharactersMin) +
                                 " characters; --force accepts a shorter one");
    return password;
}

Secret readExistingPassword(const std::string& file) {
    return notEmpty(file.empty() ? std::move(tools::askHidden({"Password: "}).front())
                                 : fromFile(file));
}

}  // namespace kelp::ctl
