#include "common/product.h"

#include <fmt/format.h>
#include <signal.h>

#include <iostream>
#include <stdexcept>

namespace kelp::bench {

namespace {

constexpr const char* kConfiguration = R"([orb]
listen = "{orb}"
connections_per_address_max = 1000000
transport = "{transport}"
[naming]
port = {naming}
[session]
release_strategy = {strategy}
ping_mode = {ping_mode}
ping_interval_s = {interval}
max_sessions = 1000000
# thousands of NMS that all call from one address as one user, and callers without a log-in
per_account_max = 1000000
per_address_max = 1000000
[access]
nms_reference = "any"
requests_per_second_before_login = 0
[inventory]
database = "{inventory}"
)";

constexpr const char* kCheapestHashes = R"([security]
hash_memory_kib = 8
hash_passes = 1
)";

constexpr std::chrono::seconds kStopPatience{90};

}  // namespace

Product::Product(const ProductSettings& settings) {
    test::writeFile(scratch_ / "kelp.toml",
                    fmt::format(kConfiguration, fmt::arg("orb", port_.hostAndPort()),
                                fmt::arg("naming", namingPort_.port()),
                                fmt::arg("strategy", settings.releaseStrategy),
                                fmt::arg("ping_mode", settings.pingMode),
                                fmt::arg("interval", settings.pingIntervalS),
                                fmt::arg("inventory", settings.inventory.string()),
                                fmt::arg("transport", settings.transport)) +
                        (settings.costlyHashes ? "" : kCheapestHashes));
    test::writeFile(scratch_ / "password", std::string(kPassword) + "\n");
    const std::string config = (scratch_ / "kelp.toml").string();
    const std::string password = (scratch_ / "password").string();
    if (test::runToEnd(launch(
            KELPCTL, {"--config", config, "user", "add", kUser, "--password-file", password})) != 0)
        throw std::runtime_error("kelpctl did not add the user: " +
                                 test::contentOf(scratch_ / "log"));
    start();
}

Product::~Product() {
    process_->signal(SIGTERM);
    if (process_->waitExit(kStopPatience) != 0)
        std::cerr << "kelpd did not stop in order\n";
}

void Product::kill() {
    process_->kill();
}

void Product::start() {
    process_.emplace(launch(KELPD, {"--config", (scratch_ / "kelp.toml").string()}));
}

std::string Product::factoryReference() const {
    return "corbaloc:iiop:1.2@" + port_.hostAndPort() + "/%ffV4800%00EMSSessionFactory";
}

test::Launch Product::launch(const std::filesystem::path& program,
                             std::vector<std::string> arguments) const {
    return {program,
            std::move(arguments),
            {{"XDG_STATE_HOME", (scratch_ / "state").string()}},
            scratch_ / "log",
            false};
}

}  // namespace kelp::bench
