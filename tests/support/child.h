#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

namespace kelp::test {

/// Run `body` in a child process and return its result. The calling process must have a single
/// thread.
inline bool inChild(const std::function<bool()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        bool isGood = false;
        try {
            isGood = body();
        } catch (...) {
        }
        ::_exit(isGood ? 0 : 1);
    }
    int status = -1;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

/// Run `body` in a child process under this umask and return its result.
inline bool inChildWithUmask(mode_t mask, const std::function<bool()>& body) {
    return inChild([&] {
        ::umask(mask);
        return body();
    });
}

/// Return the permission bits of a file or folder. Symbolic links are not followed. Returns 07777
/// if it does not exist.
inline mode_t modeOf(const char* file) {
    struct stat status {};
    return ::lstat(file, &status) == 0 ? status.st_mode & 07777u : 07777u;
}

/// The two extreme umasks: 0 would leave files open to everybody, 0777 would close them to their
/// owner.
inline constexpr mode_t kExtremeUmasks[] = {0, 0777};

/// Name the umask in the name of a test.
inline std::string nameOfUmask(const testing::TestParamInfo<mode_t>& info) {
    return info.param == 0 ? "Open" : "Closed";
}

}  // namespace kelp::test
