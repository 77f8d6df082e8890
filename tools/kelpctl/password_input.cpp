#include "password_input.h"

#include "common/hidden_input.h"

#include <cstdio>
#include <stdexcept>
#include <utility>

namespace kelp::ctl {

namespace {

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
        std::fprintf(stderr, "kelpctl: warning: others can read the password file %s\n", file.c_str());
    return line;
}

}  // namespace

Secret readPassword(const std::string& file) {
    Secret password = file.empty() ? fromTerminal() : fromFile(file);
    if (password.text().empty())
        throw std::runtime_error("the password must not be empty");
    return password;
}

}  // namespace kelp::ctl
