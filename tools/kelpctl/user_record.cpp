#include "user_record.h"

#include <kelp/oplog/log_settings.h>
#include <kelp/oplog/security_log.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <vector>

namespace kelp::ctl {

namespace {

std::string operatorName() {
    const uid_t number = ::getuid();
    std::vector<char> texts(1024);
    passwd entry{};
    passwd* found = nullptr;
    while (::getpwuid_r(number, &entry, texts.data(), texts.size(), &found) == ERANGE)
        texts.resize(texts.size() * 2);
    return found != nullptr && *found->pw_name != '\0' ? found->pw_name : std::to_string(number);
}

void append(const AccountChange& change, const std::string& outcome) {
    oplog::SecurityRecord record;
    record.event = oplog::SecurityEvent::UserAdministration;
    record.user = operatorName();
    record.object = change.account;
    record.detail = change.what;
    record.outcome = outcome;
    oplog::appendSecurityRecord(oplog::configuredSecurityLog(), record);
}

}  // namespace

void recorded(const AccountChange& change, const std::function<void()>& make) {
    try {
        make();
    } catch (const std::exception& failure) {
        try {
            append(change, failure.what());
        } catch (const std::exception& reason) {
            std::fprintf(stderr, "kelpctl: this could not be recorded in the security log: %s\n",
                         reason.what());
        }
        throw;
    }
    try {
        append(change, "ok");
    } catch (const std::exception& reason) {
        throw UnrecordedChange(
            std::string("done, but it could not be recorded in the security log: ") +
            reason.what());
    }
}

}  // namespace kelp::ctl
