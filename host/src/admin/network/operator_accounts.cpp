#include "admin/network/operator_accounts.h"

#include <kelp/corbabase/audit_trail.h>
#include <kelp/users/oss_networks.h>
#include <kelp/users/user_name.h>
#include <kelp/util/now_utc.h>
#include <kelp/util/trace_log.h>
#include <sodium.h>

#include <stdexcept>
#include <string_view>
#include <utility>

namespace kelp::host {

namespace {

/// How long a right password is not hashed again. A changed account ends this at once.
constexpr std::chrono::minutes kRemembered{1};
constexpr std::size_t kRememberedMax = 64;
/// Wrong passwords of one address: five at once, then one every 12 s.
constexpr util::TokenBuckets::Limits kFailures{.perSecond = 1.0 / 12, .burst = 5};
/// Those of all addresses together: hashes must not keep a processor busy.
constexpr util::TokenBuckets::Limits kFailuresOfAll{.perSecond = 5, .burst = 20};
constexpr const char* kAllAddresses = "*";
/// A password has at most 1024 bytes.
constexpr std::size_t kCredentialsBytesMax = users::kNameBytesMax + 1 + 1024;
constexpr const char* kObject = "status page";

}  // namespace

std::optional<Credentials> credentialsOf(const std::string& authorization) {
    constexpr std::string_view kScheme = "Basic ";
    constexpr std::size_t kTextMax = kCredentialsBytesMax * 4 / 3 + 4;
    if (!authorization.starts_with(kScheme) || authorization.size() > kScheme.size() + kTextMax)
        return std::nullopt;
    std::string plain(kCredentialsBytesMax + 4, '\0');
    std::size_t size = 0;
    if (::sodium_base642bin(reinterpret_cast<unsigned char*>(plain.data()), plain.size(),
                            authorization.data() + kScheme.size(),
                            authorization.size() - kScheme.size(), nullptr, &size, nullptr,
                            sodium_base64_VARIANT_ORIGINAL) != 0)
        return std::nullopt;
    plain.resize(size);
    const std::size_t colon = plain.find(':');
    if (colon == std::string::npos)
        return std::nullopt;
    return Credentials{plain.substr(0, colon), plain.substr(colon + 1)};
}

OperatorAccounts::OperatorAccounts(std::filesystem::path file)
    : file_(std::move(file)), key_([] {
          Digest key{};
          ::randombytes_buf(key.data(), key.size());
          return key;
      }()) {}

OperatorAccounts::~OperatorAccounts() = default;

OperatorAccounts::Verdict OperatorAccounts::judge(const std::string& authorization,
                                                  const util::PeerAddress& peer, Time now) {
    const auto given = credentialsOf(authorization);
    if (!given)
        return Verdict::Refused;
    const std::string place = networkOf(peer);
    const Digest digest = digestOf(*given, peer.text);
    std::string problem;
    {
        const util::MutexLock lock(mutex_);
        try {
            if (isRemembered(digest, now))
                return Verdict::Admitted;
            if (!mayTry(place, now))
                return Verdict::TooOften;
            problem = problemOf(*given, peer);
        } catch (const std::exception& failure) {
            database_.reset();
            if (!mayTry(place, now))  // callers must not fill the trace
                return Verdict::TooOften;
            util::traceFrom(
                "admin", std::string("the operators' accounts cannot be read: ") + failure.what());
            return Verdict::Refused;
        }
        if (problem.empty()) {
            failures_.giveBack(place);
            failures_.giveBack(kAllAddresses);
            std::erase_if(remembered_, [&](const auto& each) { return each.second <= now; });
            if (remembered_.size() < kRememberedMax)
                remembered_[digest] = now + kRemembered;
        }
    }
    record(given->name, peer, problem.empty() ? "ok" : problem);
    return problem.empty() ? Verdict::Admitted : Verdict::Refused;
}

bool OperatorAccounts::mayTry(const std::string& place, Time now) {
    return failures_.take(place, now, kFailures) &&
           failures_.take(kAllAddresses, now, kFailuresOfAll);
}

OperatorAccounts::Digest OperatorAccounts::digestOf(const Credentials& given,
                                                    const std::string& place) const {
    Digest digest{};
    const std::string text = given.name + '\0' + place + '\0' + given.password;
    ::crypto_generichash(digest.data(), digest.size(),
                         reinterpret_cast<const unsigned char*>(text.data()), text.size(),
                         key_.data(), key_.size());
    return digest;
}

bool OperatorAccounts::isRemembered(const Digest& digest, Time now) {
    if (database_ && util::identityOf(file_) != identity_)
        database_.reset();
    if (!database_) {
        identity_ = util::identityOf(file_);
        remembered_.clear();
        database_ =
            std::make_unique<users::UserDatabase>(file_, users::UserDatabase::Missing::IsAnError);
        version_ = database_->dataVersion();
    }
    if (const std::int64_t version = database_->dataVersion(); version != version_) {
        version_ = version;
        remembered_.clear();
    }
    const auto found = remembered_.find(digest);
    return found != remembered_.end() && now < found->second;
}

std::string OperatorAccounts::problemOf(const Credentials& given, const util::PeerAddress& peer) {
    const auto account =
        database_->authenticate(given.name, given.password, users::configuredHashCost());
    if (!account)
        return "wrong user or password";
    if (!account->enabled)
        return "account is disabled";
    if (account->isExpired(util::nowUtc()))
        return "account has expired";
    users::OssNetworks networks;
    std::string whyNot;
    if (!account->networks.empty() &&
        (!networks.parse(account->networks, whyNot) || !networks.contains(peer)))
        return "address is not allowed";
    return {};
}

void OperatorAccounts::record(const std::string& name, const util::PeerAddress& peer,
                              const std::string& outcome) const {
    oplog::SecurityRecord told;
    told.event = oplog::SecurityEvent::LogIn;
    told.user = name;
    told.peer = peer.text + ":" + std::to_string(peer.port);
    told.object = kObject;
    told.outcome = outcome;
    NS_CORBA::AuditTrail::Instance().Write(std::move(told));
}

}  // namespace kelp::host
