#pragma once

#include <gtest/gtest.h>
#include <kelp/users/user_database.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "support/temporary_directory.h"

namespace kelp::test {

/// The result of a run of kelpctl.
struct ToolRun {
    int status = -1;
    std::string output;
    std::string errors;

    /// True if the run failed with this status and gave the reason in a single line.
    bool failedWith(int wanted, const std::string& text) const {
        return status == wanted && output.empty() && errors.find(text) != std::string::npos &&
               std::count(errors.begin(), errors.end(), '\n') == 1 &&
               errors.rfind("kelpctl: ", 0) == 0;
    }
};

inline std::ostream& operator<<(std::ostream& out, const ToolRun& run) {
    return out << "status " << run.status << ", output \"" << run.output << "\", errors \""
               << run.errors << "\"";
}

/// The real program on a database of the test, with the cheapest password hash.
class KelpctlTest : public testing::Test {
  protected:
    KelpctlTest() {
        ::setenv("STATE_DIRECTORY", folder.path().c_str(), 1);
        folder.write("kelp.toml", "[security]\nhash_memory_kib = 8\nhash_passes = 1\n");
        secretFile("pw", "old secret\n");
    }

    /// Run `kelpctl --config FILE ARGUMENTS` with the test's configuration. `arguments` is shell
    /// text.
    ToolRun kelpctl(const std::string& arguments) {
        return tool("--config " + (folder.path() / "kelp.toml").string() + " " + arguments);
    }
    /// Run `kelpctl ARGUMENTS` in a session without a terminal.
    ToolRun tool(const std::string& arguments) {
        const std::filesystem::path output = folder.path() / "stdout";
        const std::filesystem::path errors = folder.path() / "stderr";
        const std::string command = "cd " + folder.path().string() + " && setsid -w " KELPCTL " " +
                                    arguments + " >" + output.string() + " 2>" + errors.string() +
                                    " </dev/null";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentOf(output), contentOf(errors)};
    }

    void secretFile(const std::string& name, const std::string& content) {
        std::filesystem::permissions(
            folder.write(name, content),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    }
    bool hasPassword(const std::string& user, const std::string& password) {
        return kelp::users::UserDatabase(database).passwordMatches(user, password, {8, 1});
    }

    TemporaryDirectory folder;
    const std::filesystem::path database = folder.path() / "users.db";
};

}  // namespace kelp::test
