#include "wire/net_snmp_state.h"

#include <array>
#include <atomic>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

#include "wire/net_snmp.h"

namespace kelp::traps {

namespace {

std::atomic<bool> isInUse{false};

/// Start the parts of net-snmp that a receiver needs. init_snmp() would also read files of the
/// user, load MIBs and change the locale of the process.
void startNetSnmp() {
    // what it has to say is about single messages, and we count those
    ::netsnmp_register_loghandler(NETSNMP_LOGHANDLER_NONE, LOG_DEBUG);
    ::netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_APPTYPE, "kelp");
    ::netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
    ::netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
    ::netsnmp_container_init_list();
    ::init_callbacks();
    ::init_snmp_logging();
    ::snmp_init_statistics();
    ::init_snmpv3("kelp");
}

const unsigned char* octetsOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

void setEngine(const Engine& engine) {
    if (::set_exact_engineID(octetsOf(engine.id), engine.id.size()) != SNMPERR_SUCCESS)
        throw std::runtime_error("net-snmp refuses the engine id " + engineIdText(engine.id));
    // the token of a configuration file, where it has the number before the start
    std::string bootsBefore = std::to_string(engine.boots - 1);
    ::engineBoots_conf("engineBoots", bootsBefore.data());
    ::set_enginetime(octetsOf(engine.id), static_cast<u_int>(engine.id.size()),
                     static_cast<u_int>(engine.boots),
                     static_cast<u_int>(::snmpv3_local_snmpEngineTime()), TRUE);
}

/// The OID of a protocol in net-snmp's memory.
struct Protocol {
    const oid* id = nullptr;
    std::size_t size = 0;
};

template <std::size_t size>
Protocol protocolOf(const oid (&id)[size]) {
    return {id, size};
}

Protocol protocolOf(Authentication authentication) {
    switch (authentication) {
        case Authentication::Sha1:
            return protocolOf(usmHMACSHA1AuthProtocol);
        case Authentication::Sha224:
            return protocolOf(usmHMAC128SHA224AuthProtocol);
        case Authentication::Sha256:
            return protocolOf(usmHMAC192SHA256AuthProtocol);
        case Authentication::Sha384:
            return protocolOf(usmHMAC256SHA384AuthProtocol);
        case Authentication::Sha512:
            return protocolOf(usmHMAC384SHA512AuthProtocol);
    }
    throw std::logic_error("an authentication without a protocol");
}

/// A key in memory, wiped at the end of a scope.
struct Key {
    std::array<unsigned char, USM_LENGTH_KU_HASHBLOCK> octets{};
    std::size_t size = octets.size();

    Key() = default;
    ~Key() { ::explicit_bzero(octets.data(), octets.size()); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
};

/// A user's master keys (RFC 3414, 2.6). Computing them takes some milliseconds.
struct MasterKeys {
    Protocol authentication;
    Protocol privacy;
    Key forAuthentication;
    Key forPrivacy;
};

void computeMasterKey(const User& user, const Protocol& hash, const util::Secret& password,
                      Key& key) {
    if (::generate_Ku(hash.id, static_cast<u_int>(hash.size), octetsOf(password.text()),
                      password.text().size(), key.octets.data(), &key.size) != SNMPERR_SUCCESS)
        throw std::runtime_error("net-snmp cannot make the keys of the user " + user.name);
}

void computeMasterKeys(const User& user, MasterKeys& keys) {
    keys.authentication = protocolOf(user.authentication);
    computeMasterKey(user, keys.authentication, user.authenticationPassword,
                     keys.forAuthentication);
    if (!user.hasPrivacy)
        return;
    keys.privacy = protocolOf(usmAESPrivProtocol);
    computeMasterKey(user, keys.authentication, user.privacyPassword, keys.forPrivacy);
}

/// Set a key of `entry` to the one that the engine derives from a master key.
void localize(const Protocol& hash, const EngineId& engine, const Key& master, u_char*& key,
              std::size_t& size) {
    Key local;
    if (::generate_kul(hash.id, static_cast<u_int>(hash.size), octetsOf(engine), engine.size(),
                       master.octets.data(), master.size, local.octets.data(),
                       &local.size) != SNMPERR_SUCCESS)
        throw std::runtime_error("net-snmp cannot make the keys for the engine " +
                                 engineIdText(engine));
    size = local.size;
    key = static_cast<u_char*>(::netsnmp_memdup(local.octets.data(), local.size));
}

void enterUser(const User& user, const MasterKeys& keys, const EngineId& engine) {
    usmUser* const entry = ::usm_create_user();
    if (!entry)
        throw std::bad_alloc();
    try {
        entry->name = ::strdup(user.name.c_str());
        entry->secName = ::strdup(user.name.c_str());
        entry->engineID = static_cast<u_char*>(::netsnmp_memdup(octetsOf(engine), engine.size()));
        entry->engineIDLen = engine.size();
        SNMP_FREE(entry->authProtocol);
        entry->authProtocol =
            ::snmp_duplicate_objid(keys.authentication.id, keys.authentication.size);
        entry->authProtocolLen = keys.authentication.size;
        localize(keys.authentication, engine, keys.forAuthentication, entry->authKey,
                 entry->authKeyLen);
        if (keys.privacy.id) {
            SNMP_FREE(entry->privProtocol);
            entry->privProtocol = ::snmp_duplicate_objid(keys.privacy.id, keys.privacy.size);
            entry->privProtocolLen = keys.privacy.size;
            localize(keys.authentication, engine, keys.forPrivacy, entry->privKey,
                     entry->privKeyLen);
        }
    } catch (...) {
        ::usm_free_user(entry);
        throw;
    }
    ::usm_add_user(entry);
}

void removeUsers() {
    while (usmUser* const entry = ::usm_get_userList()) {
        ::usm_remove_user(entry);
        ::usm_free_user(entry);
    }
    ::free_etimelist();
}

}  // namespace

NetSnmpState::NetSnmpState(const Engine& engine, const std::vector<User>& users) {
    if (isInUse.exchange(true))
        throw std::logic_error("there is a decoder of SNMP already");
    static std::once_flag started;
    std::call_once(started, startNetSnmp);
    try {
        setEngine(engine);
        for (const User& user : users) {
            MasterKeys keys;
            computeMasterKeys(user, keys);
            enterUser(user, keys, engine.id);
            for (const EngineId& other : user.engines) {
                if (other != engine.id)
                    enterUser(user, keys, other);
            }
        }
    } catch (...) {
        removeUsers();
        isInUse = false;
        throw;
    }
}

NetSnmpState::~NetSnmpState() {
    removeUsers();
    isInUse = false;
}

}  // namespace kelp::traps
