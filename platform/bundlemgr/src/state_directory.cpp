#include <kelp/bundlemgr/config_store.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace NS_BUNDLEMGR1 {

namespace {

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::filesystem::path homeDirectory() {
    if (const std::string home = environment("HOME"); !home.empty())
        return home;
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr)
        return found->pw_dir;
    return "/";
}

}  // namespace

std::filesystem::path defaultStateDirectory() {
    // systemd sets a list if the unit has several directories; the first one is ours
    const std::string directories = environment("STATE_DIRECTORY");
    if (!directories.empty())
        return directories.substr(0, directories.find(':'));
    // an XDG path that is not absolute must be ignored
    const std::filesystem::path xdg = environment("XDG_STATE_HOME");
    if (xdg.is_absolute())
        return xdg / "kelp";
    const std::filesystem::path installed = KELP_STATE_DIRECTORY;
    return installed.empty() ? homeDirectory() / ".local" / "state" / "kelp" : installed;
}

}  // namespace NS_BUNDLEMGR1
