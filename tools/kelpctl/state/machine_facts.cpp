#include "state/machine_facts.h"

#include <kelp/oplog/log_entry.h>
#include <kelp/util/trace_log.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/utsname.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>

namespace kelp::state {

namespace {

using admin::Json;

constexpr const char* kKernelSettings[] = {
    "fs/file-max",
    "fs/nr_open",
    "fs/file-nr",
    "kernel/pid_max",
    "kernel/threads-max",
    "net/core/rmem_max",
    "net/core/somaxconn",
    "net/core/wmem_max",
    "net/ipv4/ip_local_port_range",
    "net/ipv4/tcp_keepalive_time",
    "net/ipv4/tcp_max_syn_backlog",
    "net/ipv4/tcp_retries2",
    "vm/max_map_count",
    "vm/overcommit_memory",
};
constexpr const char* kMemory[] = {"MemTotal", "MemAvailable", "SwapTotal", "SwapFree"};
/// Longer than any of the files below /proc that are read here.
constexpr std::size_t kProcBytesMax = 16384;

std::string contentOf(const std::string& file) {
    std::ifstream in(file);
    std::string text(kProcBytesMax, '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(in.gcount()));
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

Json linesOfProc(const std::string& file) {
    Json lines = Json::array();
    const std::string text = contentOf(file);
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        lines.push_back(util::escaped(text.substr(at, end - at)));
        at = end + 1;
    }
    return lines;
}

Json memory() {
    Json found = Json::object();
    std::ifstream in("/proc/meminfo");
    for (std::string line; std::getline(in, line);) {
        for (const char* const each : kMemory) {
            const std::string prefix = std::string(each) + ":";
            if (line.starts_with(prefix))
                found[each] =
                    line.substr(std::min(line.find_first_not_of(' ', prefix.size()), line.size()));
        }
    }
    return found;
}

std::string octal(mode_t mode) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%04o", static_cast<unsigned>(mode) & 07777u);
    return text.data();
}

std::string timeOf(const struct timespec& time) {
    return oplog::timeText(oplog::UtcTime(
        std::chrono::duration_cast<oplog::UtcTime::duration>(std::chrono::seconds(time.tv_sec))));
}

}  // namespace

Json machineFacts(std::optional<pid_t> process) {
    Json facts = Json::object();
    struct utsname system {};
    if (::uname(&system) == 0)
        facts["kernel"] = std::string(system.sysname) + " " + system.release + " " +
                          system.version + " " + system.machine;
    Json settings = Json::object();
    for (const char* const each : kKernelSettings) {
        if (const std::string value = contentOf(std::string("/proc/sys/") + each); !value.empty())
            settings[each] = value;
    }
    facts["settings"] = settings;
    facts["memory"] = memory();
    facts["load"] = contentOf("/proc/loadavg");
    facts["system"] = linesOfProc("/etc/os-release");
    if (process) {
        const std::string folder = "/proc/" + std::to_string(*process);
        facts["host"] = {{"process", *process},
                         {"limits", linesOfProc(folder + "/limits")},
                         {"status", linesOfProc(folder + "/status")}};
    }
    return facts;
}

Json fileFacts(const std::vector<std::filesystem::path>& files) {
    Json all = Json::array();
    for (const std::filesystem::path& each : files) {
        struct stat status {};
        if (::lstat(each.c_str(), &status) != 0)
            continue;
        all.push_back({{"file", each.string()},
                       {"bytes", status.st_size},
                       {"mode", octal(status.st_mode)},
                       {"link", S_ISLNK(status.st_mode)},
                       {"owner", status.st_uid},
                       {"group", status.st_gid},
                       {"changed", timeOf(status.st_mtim)}});
    }
    return all;
}

Json diskFacts(const std::vector<std::filesystem::path>& folders) {
    Json all = Json::array();
    std::map<dev_t, bool> seen;
    for (const std::filesystem::path& each : folders) {
        struct stat status {};
        struct statvfs disk {};
        if (::stat(each.c_str(), &status) != 0 || ::statvfs(each.c_str(), &disk) != 0 ||
            !seen.emplace(status.st_dev, true).second)
            continue;
        all.push_back({{"folder", each.string()},
                       {"bytes", std::uint64_t{disk.f_blocks} * disk.f_frsize},
                       {"free", std::uint64_t{disk.f_bavail} * disk.f_frsize},
                       {"files", disk.f_files},
                       {"freeFiles", disk.f_favail}});
    }
    return all;
}

}  // namespace kelp::state
