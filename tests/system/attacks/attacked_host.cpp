#include "attacks/attacked_host.h"

#include <kelp/orb/references.h>
#include <poll.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace kelp::test {

namespace {

/// Time limit in case the host makes an attack wait. Attacks end on their own otherwise.
constexpr std::chrono::seconds kAttackLimit{200};

/// Return the processor time that a process has used so far.
std::chrono::milliseconds processorTime(pid_t process) {
    std::ifstream in("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(in, text);
    std::istringstream fields(text.substr(std::min(text.size(), text.rfind(')') + 1)));
    std::string skipped;
    for (int field = 3; field < 14; ++field)
        fields >> skipped;
    long user = 0;
    long system = 0;
    fields >> user >> system;
    return std::chrono::milliseconds((user + system) * 1000 / ::sysconf(_SC_CLK_TCK));
}

std::string readAll(ChildProcess& attacker) {
    const auto end = std::chrono::steady_clock::now() + kAttackLimit;
    std::string text;
    char buffer[4096];
    while (std::chrono::steady_clock::now() < end) {
        pollfd ready{attacker.output(), POLLIN, 0};
        if (::poll(&ready, 1, 200) <= 0)
            continue;
        const ssize_t count = ::read(attacker.output(), buffer, sizeof buffer);
        if (count <= 0)
            return text;
        text.append(buffer, static_cast<std::size_t>(count));
    }
    throw std::runtime_error("the attack does not end");
}

}  // namespace

AttackedHost::AttackedHost() {
    host_.set("access", "allowed_oss", "['127.0.0.1', '127.0.0.3']");
    host_.set("trace", "level", 1);
}

void AttackedHost::startHost() {
    host_.addUser(kUser);
    host_.start();
    bystander_ = std::make_unique<NmsProcess>(host_);
    bystander_->logIn(0, kUser);
}

ChildProcess AttackedHost::startAttack(const std::string& name, std::uint16_t port,
                                       const Options& options) {
    std::vector<std::string> arguments = {ATTACKER, name, std::to_string(port)};
    for (const auto& [option, value] : options)
        arguments.push_back(option + "=" + value);
    Launch launch = host_.launch(PYTHON, arguments);
    launch.piped = true;
    launch.environment["PYTHONDONTWRITEBYTECODE"] = "1";
    return ChildProcess(launch);
}

AttackedHost::Seen AttackedHost::attack(const std::string& name, std::uint16_t port,
                                        const Options& options) {
    if (bystander_)
        bystander_->startChatter(0);
    ChildProcess attacker = startAttack(name, port, options);
    std::istringstream lines(readAll(attacker));
    EXPECT_EQ(attacker.waitExit(), 0) << name;
    if (bystander_) {
        const ChatterResult served = bystander_->stopChatter(0);
        EXPECT_GT(served.calls, 0);
        EXPECT_EQ(served.failures, 0)
            << "of " << served.calls << " calls of the bystander during " << name;
    }
    Seen seen;
    for (std::string key, value; lines >> key >> value;)
        seen[key] = value;
    return seen;
}

ChildProcess AttackedHost::lastingAttack(const std::string& name, const Options& options) {
    ChildProcess attacker = startAttack(name, host_.port(), options);
    // the attacker prints one line when it is ready
    char octet = 0;
    while (::read(attacker.output(), &octet, 1) == 1 && octet != '\n') {
    }
    return attacker;
}

bool AttackedHost::isIdle() {
    return eventually([this] {
        const auto before = processorTime(host_.process().pid());
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        return processorTime(host_.process().pid()) - before < std::chrono::milliseconds(120);
    });
}

std::size_t AttackedHost::tracedLines() {
    return host_.log().count("\n");
}

void AttackedHost::expectUnharmed() {
    ASSERT_TRUE(host_.process().isRunning());
    EXPECT_NO_THROW(bystander_->ping(0));
    EXPECT_NO_THROW(bystander_->emsLabel(0));
    EXPECT_EQ(bystander_->counts(0).ended, 0) << "its session was ended";
    EXPECT_TRUE(isIdle()) << "the host spins";
    EXPECT_EQ(host_.stop(), 0);
}

std::string AttackedHost::sessionKey() {
    orb::ReferenceContent content;
    EXPECT_TRUE(orb::decodeReference(bystander_->sessionReference(0), content));
    return hexOf(content.objectKey);
}

long numberIn(const std::map<std::string, std::string>& seen, const std::string& name) {
    const auto found = seen.find(name);
    return found == seen.end() ? -1 : std::stol(found->second);
}

std::string attackerPlace(const ::testing::TestParamInfo<const char*>& address) {
    static const std::map<std::string, std::string> names = {{"127.0.0.1", "ALoggedInAddress"},
                                                             {"127.0.0.2", "AForeignAddress"},
                                                             {"127.0.0.3", "AnAllowedAddress"}};
    return names.at(address.param);
}

std::string hexOf(const std::string& octets) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char octet : octets) {
        text += kDigits[static_cast<unsigned char>(octet) >> 4];
        text += kDigits[static_cast<unsigned char>(octet) & 15];
    }
    return text;
}

}  // namespace kelp::test
