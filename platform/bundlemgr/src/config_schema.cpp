#include <kelp/bundlemgr/config_schema.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace NS_BUNDLEMGR1 {

namespace {

constexpr std::int64_t kDaySeconds = 86400;
constexpr std::int64_t kIntMax = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kIntMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kPortMax = 65535;

enum class Change { AtReload, AtRestart };

ConfigKey integerKey(std::string table, std::string key, std::int64_t standard,
                     std::int64_t minimum, std::int64_t maximum, Change change,
                     std::string meaning) {
    return ConfigKey{std::move(table),
                     std::move(key),
                     standard,
                     minimum,
                     maximum,
                     {},
                     change == Change::AtRestart,
                     std::move(meaning)};
}

/// A key for an interval or a time-out in seconds.
ConfigKey secondsKey(std::string table, std::string key, std::int64_t standard, Change change,
                     std::string meaning) {
    return integerKey(std::move(table), std::move(key), standard, 1, kDaySeconds, change,
                      std::move(meaning));
}

ConfigKey flagKey(std::string table, std::string key, bool standard, Change change,
                  std::string meaning) {
    return ConfigKey{
        std::move(table),  std::move(key), standard, 0, 0, {}, change == Change::AtRestart,
        std::move(meaning)};
}

/// A key for a text or a list of texts. With `choices` only these texts are allowed.
ConfigKey choiceKey(std::string table, std::string key, ConfigValue standard,
                    std::vector<std::string> choices, Change change, std::string meaning) {
    return ConfigKey{std::move(table),
                     std::move(key),
                     std::move(standard),
                     0,
                     0,
                     std::move(choices),
                     change == Change::AtRestart,
                     std::move(meaning)};
}

ConfigKey textKey(std::string table, std::string key, std::string standard,
                  std::vector<std::string> choices, Change change, std::string meaning) {
    return choiceKey(std::move(table), std::move(key), std::move(standard), std::move(choices),
                     change, std::move(meaning));
}

ConfigKey textsKey(std::string table, std::string key, std::vector<std::string> standard,
                   std::vector<std::string> choices, Change change, std::string meaning) {
    return choiceKey(std::move(table), std::move(key), std::move(standard), std::move(choices),
                     change, std::move(meaning));
}

ConfigKey agentNumber(std::string key, std::int64_t fallback, std::string meaning) {
    return integerKey("agent", std::move(key), fallback, kIntMin, kIntMax, Change::AtReload,
                      std::move(meaning));
}

ConfigKey agentText(std::string key, std::string fallback, std::string meaning) {
    return textKey("agent", std::move(key), std::move(fallback), {}, Change::AtReload,
                   std::move(meaning));
}

/// The standard's managers by name (TMF 814, SD1-15).
const std::vector<std::string>& standardManagers() {
    static const std::vector<std::string> names = {"EMS",
                                                   "ManagedElement",
                                                   "MultiLayerSubnetwork",
                                                   "TrafficDescriptor",
                                                   "PerformanceManagement",
                                                   "Protection",
                                                   "EquipmentInventory",
                                                   "Maintenance",
                                                   "softwareAndDataManager",
                                                   "transmissionDescriptor",
                                                   "GuiCutThrough",
                                                   "FlowDomain",
                                                   "MultiLayerSNPPLink",
                                                   "TrafficConditioningProfile",
                                                   "MLSNPP"};
    return names;
}

std::vector<ConfigKey> serviceKeys() {
    constexpr Change restart = Change::AtRestart;
    return {
        textKey("ems", "name", "Kelp/EMS", {}, restart,
                "Name of the EMS as CompanyName/EMSName; part of the naming path of the session "
                "factory."),
        textKey("ems", "version", "3.5", {}, restart,
                "Version of the TMF 814 interface. It is part of the naming path and the answer of "
                "getVersion."),
        flagKey("ems", "lenient_names", true, Change::AtReload,
                "Accept a name whose first component EMS is missing or empty as the name of an "
                "object of this EMS. Otherwise such a name is refused with EXCPT_INVALID_INPUT."),

        textKey(
            "orb", "listen", "127.0.0.1:4800", {}, restart,
            "Address and port for CORBA calls over TCP, as host:port or [ipv6]:port; port 0 "
            "selects a free one. With a wildcard address (0.0.0.0 or [::]) publish must be set."),
        textKey("orb", "publish", "", {}, restart,
                "Host or host:port in the references that this process gives to clients. Set it if "
                "clients reach this process at another address than it listens on (NAT, several "
                "networks). Empty: the address of listen."),
        integerKey("orb", "threads_max", 0, 0, 10000, restart,
                   "Maximum number of threads that serve one client's connection at the same time; "
                   "0 leaves it to the ORB."),
        integerKey("orb", "message_bytes_max", 104857600, 8192, kIntMax, restart,
                   "Maximum size of a CORBA message that is accepted or sent, in bytes."),
        textKey("orb", "transport", "gate", {"gate", "orb"}, restart,
                "Transport that accepts connections. \"gate\" passes only well-formed messages "
                "of allowed callers to the ORB, within the limits below. \"orb\" is the ORB's "
                "own transport without these limits, to work around a fault in the gate."),
        integerKey("orb", "connections_max", 2000, 2, 1000000, restart,
                   "Maximum number of connections; at most half of the descriptors that this "
                   "process may have. When it is reached, a new connection replaces one that has "
                   "sent no request yet, or the one that has been idle longest among those of "
                   "addresses without a log-in. If there is none, the new one is refused."),
        integerKey("orb", "connections_per_address_max", 500, 1, 1000000, restart,
                   "Maximum number of connections from one address. A further connection replaces "
                   "one of this address that has sent no request yet, or the one that has been "
                   "idle longest. If there is none, it is refused."),
        integerKey("orb", "connections_reserved", 200, 0, 1000000, restart,
                   "Number of connections of connections_max that are reserved for addresses with "
                   "a log-in."),
        integerKey("orb", "unfinished_bytes_max", 268435456, 1048576, std::int64_t{1} << 40,
                   restart,
                   "Maximum memory for messages that are still arriving, over all connections, in "
                   "bytes. A connection that needs more is closed."),
        integerKey("orb", "header_timeout_s", 10, 1, kDaySeconds, restart,
                   "Seconds within which the first header of a new connection must arrive, and any "
                   "later header after its first octet. A slower connection is closed."),
        integerKey("orb", "input_rate_min", 1024, 1, kIntMax, restart,
                   "Minimum rate at which an unfinished message must continue, in bytes a second. "
                   "A connection that stays below it for header_timeout_s is closed."),
        integerKey("orb", "locate_requests_max", 1000, 1, kIntMax, restart,
                   "Maximum number of LocateRequests a second from an address with a log-in. A "
                   "connection that exceeds it is closed."),
        textKey("orb", "char_set", "UTF-8", {}, restart, "Code set of the texts inside the EMS."),
        textKey("orb", "unconvertible", "refuse", {"refuse", "question_mark"}, restart,
                "What happens to a text with a character that the code set of an NMS lacks. "
                "\"refuse\": the call is answered with DATA_CONVERSION, and an event does not "
                "reach that NMS. \"question_mark\": a question mark replaces the character."),

        integerKey("tls", "mode", 0, 0, 2, restart,
                   "0 no TLS, 1 TLS and TCP, 2 TLS only. This applies to the calls that this "
                   "process makes, too."),
        textKey("tls", "listen", "127.0.0.1:4843", {}, restart,
                "Address and port for CORBA calls over TLS."),
        textKey("tls", "ca", "", {}, restart,
                "PEM file with the certificates of the authorities that sign the clients' "
                "certificates; "
                "needed when mode is not 0."),
        textKey(
            "tls", "certificate", "", {}, restart,
            "PEM file with this process's private key and certificate; needed when mode is not 0."),
        textKey("tls", "key_password_file", "", {}, restart,
                "File whose first line is the password of the private key; empty for a key without "
                "one."),
        textKey("tls", "crl", "", {}, restart,
                "PEM file with a revocation list of each authority in ca. A certificate in one of "
                "the lists is refused. Empty: revocation is not checked."),
        textKey(
            "tls", "ciphers", "ECDHE+AESGCM:ECDHE+CHACHA20:DHE+AESGCM:DHE+CHACHA20:!aDSS", {},
            restart,
            "Cipher suites for TLS 1.2, in the form of openssl-ciphers(1); only those with forward "
            "secrecy (ECDHE, DHE) and authenticated encryption."),
        textKey("tls", "cipher_suites",
                "TLS_AES_256_GCM_SHA384:TLS_CHACHA20_POLY1305_SHA256:TLS_AES_128_GCM_SHA256", {},
                restart,
                "Cipher suites for TLS 1.3, joined by colons. Versions of TLS before 1.2 are not "
                "supported."),
        integerKey("tls", "handshakes_max", 400, 1, 1000000, restart,
                   "Maximum number of TLS handshakes in progress. When it is reached, a new "
                   "handshake replaces one that has taken 3 s; if there is none, it is refused."),
        integerKey("tls", "handshakes_per_address_max", 100, 1, 1000000, restart,
                   "The same for the TLS handshakes in progress with one address."),
        textKey("tls", "verify", "require", {"require", "none"}, restart,
                "\"require\": a client must show a certificate that an authority of ca has signed; "
                "\"none\": "
                "it need not."),

        textKey("naming", "host", "127.0.0.1", {}, Change::AtReload,
                "Host of the naming service; a host of this machine if the naming service is "
                "embedded. While it is embedded a change needs a restart."),
        integerKey("naming", "port", 4801, 1, kPortMax, Change::AtReload,
                   "Port of the naming service. While it is embedded a change needs a restart."),
        integerKey("naming", "ssl_port", 0, 0, kPortMax, Change::AtReload,
                   "Port of the naming service for TLS; 0 for none."),
        flagKey("naming", "embedded", true, restart,
                "true: the naming service runs inside this process, and others may only read it. "
                "false: the naming service at host and port is used."),
        textsKey("naming", "aliases", {}, {}, Change::AtReload,
                 "Further paths under which the embedded naming service shows the session factory. "
                 "Each has the form \"id.kind/id.kind\"; a '/', '.' or '\\' inside an id or a kind "
                 "is escaped by a '\\'. In single quotes TOML does not treat '\\' specially. At "
                 "most 100 paths, each with at most 32 components and 1024 characters."),
        textKey("naming", "ior_file", "", {}, restart,
                "File that holds the session factory's reference (IOR) while the host runs; empty: "
                "none."),
        integerKey("naming", "list_max", 1000, 1, 100000, Change::AtReload,
                   "Maximum number of entries in one reply of the embedded naming service. The "
                   "rest is read through an iterator."),
        integerKey("naming", "iterators_per_address", 10, 1, 10000, Change::AtReload,
                   "Maximum number of open iterators of the embedded naming service for one "
                   "caller's address. A further one closes the oldest of that address."),
        integerKey("naming", "iterators_max", 200, 1, 100000, Change::AtReload,
                   "Maximum number of open iterators of the embedded naming service. A further one "
                   "closes the oldest."),
        secondsKey("naming", "iterator_idle_s", 120, Change::AtReload,
                   "Seconds after which an iterator of the embedded naming service is closed if it "
                   "is not used."),

        textKey("notification", "mode", "embedded", {"embedded", "external"}, restart,
                "Where the notification channel is: inside this process (\"embedded\"), or in a "
                "CosNotification service elsewhere (\"external\"). Only clients with a log-in may "
                "use an embedded channel. This host does not protect an external one."),
        textKey("notification", "host", "127.0.0.1", {}, Change::AtReload,
                "Host of an external notification service. Its object NotificationService "
                "(corbaloc) must be an event channel or a channel factory. The oldest channel of a "
                "factory is used."),
        integerKey("notification", "port", 4802, 1, kPortMax, Change::AtReload,
                   "Port of an external notification service."),
        integerKey(
            "notification", "ssl_port", 0, 0, kPortMax, Change::AtReload,
            "Port of an external notification service for TLS, used when tls.mode is not 0; 0 for "
            "none."),
        integerKey("notification", "queue_events_max", 10000, 1, 10000000, restart,
                   "Maximum number of events kept for one consumer that does not take them, or for "
                   "an external notification service that cannot be reached."),
        integerKey("notification", "delivery_threads_max", 64, 1, 1000, restart,
                   "Maximum number of threads that deliver events."),
        secondsKey("notification", "push_timeout_s", 10, restart,
                   "Maximum duration of one call that delivers events, in seconds."),
        secondsKey(
            "notification", "dead_consumer_after_s", 600, restart,
            "Seconds after which a consumer that answers nothing is dropped. A consumer that pulls "
            "is dropped when it has not pulled for that time while events were waiting."),
        integerKey("notification", "heartbeat_s", 60, 0, kDaySeconds, restart,
                   "Seconds between heartbeat events; 0 sends none."),
        integerKey("notification", "consumers_per_address_max", 200, 1, 1000000, restart,
                   "Maximum number of consumer proxies that clients at one address may have in the "
                   "channel at the same time, connected or not. A further one is refused with "
                   "AdminLimitExceeded. A proxy counts until it is disconnected or dropped."),
        integerKey("notification", "suppliers_per_address_max", 100, 1, 1000000, restart,
                   "The same for supplier proxies."),
        integerKey("notification", "admins_per_address_max", 500, 1, 1000000, restart,
                   "Maximum number of admins that clients at one address may have in the channel "
                   "at the same time. A further one is refused with NO_RESOURCES. An admin counts "
                   "until it is destroyed."),
        integerKey("notification", "filters_per_address_max", 5000, 1, 1000000, restart,
                   "The same for filters. The channel has at most 10000 filters."),
        integerKey("notification", "consumers_per_login_max", 20, 1, 1000000, restart,
                   "Maximum number of consumer proxies that one log-in may have in the channel at "
                   "the same time. A further one is refused with AdminLimitExceeded. Objects "
                   "created over a connection whose log-in is not known count for its address."),
        integerKey(
            "notification", "admins_per_login_max", 50, 1, 1000000, restart,
            "Maximum number of admins of one log-in. A further one is refused with NO_RESOURCES."),
        integerKey(
            "notification", "filters_per_login_max", 500, 1, 1000000, restart,
            "Maximum number of filters of one log-in. A further one is refused with NO_RESOURCES."),
        integerKey("notification", "constraints_per_login_max", 2000, 1, 1000000, restart,
                   "Maximum number of constraints in all filters of one log-in. Further ones are "
                   "refused with NO_RESOURCES. One filter has at most 200."),
        integerKey("notification", "constraint_bytes_max", 8192, 64, 1048576, restart,
                   "Maximum size of a constraint with the names of its event types, in bytes. A "
                   "longer one is an InvalidConstraint."),
        integerKey("notification", "constraint_cost_max", 20000, 10, 100000000, restart,
                   "Maximum number of steps that evaluating a constraint may need, estimated from "
                   "its text (about 1 for each operator and step of a path, 50 for a sequence that "
                   "is searched). A constraint that needs more is an InvalidConstraint."),
        integerKey("notification", "evaluation_cost_max", 50000, 10, 100000000, restart,
                   "Maximum number of steps that the filters of one consumer may take for one "
                   "event. A filter that needs more than the remaining steps does not match."),
        integerKey("notification", "filter_threads", 2, 2, 64, restart,
                   "Maximum number of threads that filter events for consumers. One log-in uses at "
                   "most all but one of them."),
        textsKey(
            "notification", "suppliers", {}, {}, restart,
            "Networks (address or address/prefix length) whose hosts may push events into the "
            "channel if they are logged in. Supplier admins refuse all others with NO_PERMISSION."),
        flagKey("notification", "alarm_log", false, restart,
                "Write every accepted alarm to the alarm log."),
        flagKey("notification", "fill_ne_time", true, restart,
                "Give an event without neTime its emsTime as neTime, because some NMS calculate "
                "with it. Otherwise the event is sent without neTime."),

        integerKey("session", "release_strategy", 0, 0, 2, restart,
                   "When sessions end without a log-out or a failed ping. 0: never. 1: the oldest "
                   "session ends when there are more than max_sessions; only with ping_mode = "
                   "false. 2: a session ends when its NMS has been silent for silent_time_s."),
        flagKey("session", "ping_mode", true, restart,
                "Whether the EMS pings the NMS of each session."),
        secondsKey("session", "ping_interval_s", 60, restart,
                   "Seconds between two rounds of pings. An NMS that fails four in a row loses its "
                   "session "
                   "in the fifth round."),
        integerKey("session", "ping_threads", 32, 1, 1000, restart,
                   "Maximum number of NMS that are pinged at the same time. If more NMS than that "
                   "hang, the pings of the others are up to call_timeout_s late."),
        flagKey("session", "call_is_life", false, restart,
                "Whether a call of an NMS on its session, a manager or an iterator since the last "
                "ping counts as an answer to the ping. For NMS that cannot be called."),
        secondsKey(
            "session", "call_timeout_s", 10, restart,
            "Maximum duration of one call to an NMS, including the connection set-up, in seconds."),
        secondsKey("session", "silent_time_s", 1800, restart,
                   "Seconds an NMS may be silent or unreachable under release strategy 2."),
        integerKey("session", "max_sessions", 100, 1, 1000000, Change::AtReload,
                   "Maximum number of sessions at the same time under release strategy 1 with "
                   "ping_mode = false."),
        integerKey("session", "per_account_max", 250, 1, 1000000, Change::AtReload,
                   "Maximum number of sessions of one account at the same time. A further log-in "
                   "is refused with EXCPT_ACCESS_DENIED, unless it resumes or replaces the "
                   "caller's existing session."),
        integerKey("session", "log_ins_at_once", 20, 0, 1000000, Change::AtReload,
                   "Number of log-ins that one NMS and user may make in quick succession. Each "
                   "further log-in waits for a second. Each second without a log-in allows one "
                   "more. 0: no log-in waits."),
        integerKey("session", "per_address_max", 500, 1, 1000000, Change::AtReload,
                   "Maximum number of sessions from one address at the same time, over all "
                   "accounts. NMS behind one NAT address share it."),

        textKey("session", "history", "", {}, restart,
                "SQLite file of the ended sessions; empty: sessions.db in the state directory."),
        integerKey("session", "history_days", 30, 1, 3650, Change::AtReload,
                   "Days that ended sessions are kept."),
        integerKey("session", "history_rows", 100000, 1, 10000000, Change::AtReload,
                   "Maximum number of ended sessions that are kept. The oldest are removed first."),

        integerKey("iterator", "soft_limit", 200, 1, 1000000, Change::AtReload,
                   "Number of open iterators above which opening a further one closes the oldest "
                   "(IteratorRestriction)."),
        integerKey("iterator", "hard_limit", 1000, 1, 1000000, Change::AtReload,
                   "Maximum number of open iterators (IteratorNum). A further one is refused with "
                   "EXCPT_TOO_MANY_OPEN_ITERATORS. If this limit is not above soft_limit, old "
                   "iterators are never closed for new ones, except at per_session_max."),
        integerKey("iterator", "per_session_max", 100, 1, 1000000, Change::AtReload,
                   "Maximum number of open iterators of one session. Opening a further one closes "
                   "the oldest of the session, so that one NMS cannot use up the limits above."),
        integerKey("iterator", "batch_max", 5000, 1, 1000000, Change::AtReload,
                   "Maximum number of entries in one batch, whatever an NMS asks for. In addition, "
                   "the encoded size of a batch stays below 1 MiB."),
        integerKey("iterator", "read_ahead", 16, 0, 1000, Change::AtReload,
                   "Maximum number of iterators whose next batch is read ahead while their NMS "
                   "works on the previous one. Each of them holds one batch in memory. 0: none."),

        integerKey("access", "message_bytes_before_login", 65536, 4096, kIntMax, restart,
                   "Maximum size of a message from an address without a log-in, in bytes. A "
                   "connection with a longer message is closed."),
        integerKey("access", "locate_requests_before_login", 100, 1, kIntMax, restart,
                   "Maximum number of LocateRequests a second from an address without a log-in. A "
                   "connection that exceeds it is closed."),
        textsKey("access", "allowed_oss", {"127.0.0.0/8"}, {}, Change::AtReload,
                 "Networks (address or address/prefix length, IPv4 or IPv6) whose hosts may call. "
                 "Connections from elsewhere are closed at once, and calls over existing "
                 "connections are refused (NO_PERMISSION). Both are recorded in the security log. "
                 "A host name in this list counts for nms_reference only; it is never resolved."),
        textKey("access", "nms_reference", "peer", {"peer", "allowed", "any"}, Change::AtReload,
                "Which addresses may be in the references of an NMS that the EMS calls: those of "
                "its session, event consumers and callbacks, and those to which it forwards calls. "
                "\"peer\": only the address of its connection. \"allowed\": the addresses in "
                "allowed_oss. \"any\": every address. A log-in or consumer with another address is "
                "refused, and a forward to another address is not followed. With \"peer\" and "
                "\"allowed\", host names are refused unless allowed_oss lists them."),
        integerKey("access", "requests_per_second_before_login", 200, 0, 1000000, Change::AtReload,
                   "Maximum number of requests a second from an address without a log-in. The /64 "
                   "network of an IPv6 address counts as one address. Further requests are refused "
                   "(TRANSIENT) and summarised in the security log. 0: no limit."),
        integerKey("access", "requests_burst_before_login", 1000, 1, 1000000, Change::AtReload,
                   "Number of requests that an address without a log-in may make in a burst "
                   "before that limit applies. Several NMS that start behind one NAT address "
                   "share it."),
        textKey("access", "session_peer", "address", {"address", "any"}, Change::AtReload,
                "Who may call the objects of a session. \"address\": only the address that logged "
                "in, so that a reference is of no use elsewhere. \"any\": every caller that has "
                "the reference, for NMS behind a proxy that calls from several addresses. A "
                "refused call gets NO_PERMISSION and is recorded in the security log."),

        textKey("security", "database", "", {}, restart,
                "SQLite file of the user accounts; empty: users.db below the state directory."),
        integerKey("security", "lockout_failures", 5, 1, 1000, Change::AtReload,
                   "Number of wrong passwords for one user from one address after which the user "
                   "is locked out at that address. After ten times this number for one user from "
                   "all addresses together, an address from which the user has not logged in "
                   "before has one attempt. After ten times this number from one address for all "
                   "users together, log-ins from that address are refused for 1 s, then 2 s and "
                   "so on up to lockout_s. kelpctl user unlock ends all of this."),
        secondsKey("security", "lockout_s", 300, Change::AtReload,
                   "Seconds for which a user is locked out. Each further failure doubles the "
                   "time, up to 8 times this value. Failures are forgotten after twice this value "
                   "without a failure or a lock-out."),
        integerKey(
            "security", "hash_memory_kib", 19456, 8, 4194304, Change::AtReload,
            "Memory of one password hash (Argon2id), in KiB. Stored hashes keep the cost they were "
            "made with."),
        flagKey("security", "core_dumps", false, restart,
                "Whether a crash of this process may leave a core dump. It contains everything in "
                "memory, including passwords and keys."),
        integerKey("security", "hash_passes", 2, 1, 1000, Change::AtReload,
                   "Passes of one password hash (Argon2id)."),

        textKey("oplog", "database", "", {}, restart,
                "SQLite file of the operation log; empty: oplog.db in the state directory. The "
                "security log is next to it with -audit in its name (oplog-audit.db) and has the "
                "same limits."),
        textKey("oplog", "audit_key_file", "", {}, restart,
                "File with the key of the security log's chain, created at the first start (mode "
                "0600); empty: audit.key in the folder of the security log. Refused if others can "
                "read it. Keep a copy: without it the log can be neither checked nor continued."),
        integerKey("oplog", "keep_days", 180, 1, 36500, Change::AtReload,
                   "Days that records are kept."),
        integerKey("oplog", "keep_mib", 1024, 1, 1048576, Change::AtReload,
                   "Size of a log above which its oldest records are removed, in MiB."),
        integerKey(
            "oplog", "keep_before_login_mib", 64, 1, 1048576, Change::AtReload,
            "The same for the records of callers without a log-in, in MiB. They are in a database "
            "next to the log with -before-login in its name (oplog-before-login.db), so that they "
            "displace no other records. kelpctl oplog shows both together."),
        integerKey("oplog", "records_per_minute_before_login", 100, 1, 1000000, Change::AtReload,
                   "Maximum number of individual records of callers without a log-in within a "
                   "minute, for one address and outcome. Further ones are summarised in one "
                   "record."),
        integerKey("oplog", "queue_max", 200000, 1, 10000000, restart,
                   "Maximum number of records of a log that wait for the disk. Further records are "
                   "dropped; a gap record says how many are missing."),
        integerKey("oplog", "stall_max_ms", 2000, 0, 60000, restart,
                   "Maximum time that a request waits for room in a full queue, in milliseconds. "
                   "After one request has waited in vain, no other waits until there is room."),

        textsKey("managers", "offered", standardManagers(), standardManagers(), restart,
                 "The standard's managers that are offered to NMS. A manager that no bundle "
                 "implements answers every operation with EXCPT_NOT_IMPLEMENTED. getManager for a "
                 "manager that is not offered is refused; some NMS give up altogether when it is. "
                 "Managers with other names that a bundle provides are always offered."),

        textKey(
            "inventory", "database", "", {}, restart,
            "SQLite file of the inventory; empty: inventory.db below the state directory. kelpctl "
            "inventory import fills it, also while the host runs."),

        textKey("alarms", "log", "", {}, restart,
                "SQLite file of the change log, from which the list of alarms is derived; empty: "
                "changes.db below the state directory. Saved lists are in a folder next to it, "
                "with -lists in its name (changes-lists)."),
        textKey("alarms", "durability", "full", {"full", "normal"}, restart,
                "What an accepted alarm survives. \"full\": a power cut, because the disk "
                "confirms each group of alarms before they are accepted. \"normal\": the end of "
                "the process, but a power cut may lose the newest alarms."),
        integerKey("alarms", "active_max", 200000, 100, 1000000, restart,
                   "Maximum number of active alarms. Further ones are refused until some are "
                   "cleared."),
        integerKey("alarms", "history_days", 30, 1, 3650, restart,
                   "How long cleared alarms are kept, in days."),
        integerKey("alarms", "history_max", 10000, 0, 1000000, restart,
                   "Maximum number of cleared alarms that are kept. The oldest are dropped first."),
        integerKey("alarms", "flap_raises", 5, 1, 1000, restart,
                   "An alarm that is raised again more often than this within flap_window_s is "
                   "flapping: it stays in the list as it was last sent, and further reports are "
                   "counted until none has arrived for flap_quiet_s. Then the difference is sent."),
        secondsKey("alarms", "flap_window_s", 60, restart, "See flap_raises."),
        secondsKey("alarms", "flap_quiet_s", 60, restart, "See flap_raises."),
        integerKey(
            "alarms", "intake_backlog", 20000, 100, 1000000, restart,
            "Maximum number of reports that wait for the disk; they also have at most 64 MiB "
            "in all. A report for which there is no room waits, and is refused after "
            "intake_wait_ms."),
        integerKey("alarms", "intake_wait_ms", 2000, 100, 60000, restart,
                   "See intake_backlog. Also how long a report waits for a disk that fails. Keep "
                   "it shorter than the time-outs of the senders."),
        integerKey("alarms", "network_event_rate", 200, 1, 5000, restart,
                   "Maximum number of events a second about changes of the inventory, such as "
                   "those of an import. Changes beyond it wait in the inventory's file."),

        textsKey("snmp", "listen", {}, {}, restart,
                 "Addresses and ports for SNMP traps and informs over UDP, as address:port or "
                 "[address]:port. The usual port is 162. Empty: none are received. The bundle "
                 "kelp_snmp must be loaded after kelp_ems."),
        textsKey("snmp", "sources", {}, {}, restart,
                 "Networks (address or address/prefix length) whose hosts may send traps. Messages "
                 "from elsewhere are dropped before they are read."),
        textsKey("snmp", "mappings", {}, {}, restart,
                 "Files with the rules that turn traps into alarms, such as snmp/standard.toml in "
                 "the share folder of the installation. A trap without a rule becomes an "
                 "indeterminate alarm."),
        textKey("snmp", "communities_file", "", {}, restart,
                "File with the communities of SNMPv2c, one a line, optionally followed by the "
                "networks that may use it; empty: SNMPv2c is refused. Refused if others can read "
                "it."),
        textKey("snmp", "users_file", "", {}, restart,
                "File with the users of SNMPv3, one a line: name, SHA-256, password, and "
                "optionally AES and a password, then engine=HEX for each engine that sends traps; "
                "empty: SNMPv3 is refused. Refused if others can read it."),
        integerKey("snmp", "queue_max", 10000, 1, 1000000, restart,
                   "Maximum number of traps that wait until their alarms are stored. Further ones "
                   "are dropped, and informs are not acknowledged."),
        integerKey("snmp", "messages_per_second", 200, 1, 1000000, restart,
                   "Maximum number of messages a second from one address; the /64 network of an "
                   "IPv6 address counts as one. Further ones are dropped."),
        integerKey("snmp", "messages_burst", 1000, 1, 1000000, restart,
                   "Number of messages that an address may send in a burst before that limit "
                   "applies."),
        integerKey("snmp", "unknown_per_minute", 60, 1, 1000000, restart,
                   "Maximum number of alarms a minute from one address for traps without a rule. "
                   "Further ones are dropped and counted."),

        textsKey("trace", "sinks", {"console"}, {"console", "file", "journal"}, restart,
                 "Where trace lines go: any of \"console\" (standard error), \"file\" and "
                 "\"journal\" (of "
                 "systemd)."),
        textKey("trace", "file", "", {}, restart,
                "File of the sink \"file\". It is rotated at 20 MiB, and ten files are kept."),
        integerKey(
            "trace", "level", 1, 0, 3, Change::AtReload,
            "Highest level of diagnostics that is kept: 0 failures, 1 refusals and set-up, 2 "
            "configuration, 3 everything."),
        integerKey("trace", "lines_per_minute_before_login", 20, 1, 1000000, Change::AtReload,
                   "Maximum number of lines of one kind that one address without a log-in may "
                   "cause within a minute. Further lines are summarised in one line. The same "
                   "holds for the ORB's own messages."),

        integerKey("time", "appearance", 0, 0, 1, Change::AtReload,
                   "Form of times on the interface: 0 compact (yyyyMMddhhmmss.0), 1 with slashes "
                   "(dd/MM/yyyy hh:mm:ss)."),
        integerKey("time", "reference", 0, 0, 1, Change::AtReload,
                   "Time zone of times on the interface: 0 UTC, 1 local time."),

        textKey("admin", "listen", "", {}, restart,
                "Address of the operator's interface, which kelpctl alarm and kelpctl storm use. "
                "Empty: the Unix socket admin.sock in the state directory. Otherwise host:port or "
                "[ipv6]:port with a loopback address; callers then have to send the token in the "
                "file admin.token in the state directory."),
        textKey("admin", "network_listen", "", {}, restart,
                "Address at which operators on other machines reach the status page and the "
                "requests that only read, over TLS and with the password of an operator's account "
                "(kelpctl operator). Numeric host:port or [ipv6]:port, such as 0.0.0.0:4443. "
                "Empty: nobody on another machine reaches the operator's interface."),
        textKey("admin", "network_certificate", "", {}, restart,
                "PEM file with the private key and the certificate for network_listen. The key has "
                "no password. A changed file is used from the next connection on."),
        textKey("admin", "operators", "", {}, restart,
                "Database of the operators' accounts. Empty: operators.db in the state directory."),

        textsKey("bundles", "load",
                 {"kelp_ems", "kelp_managedelement", "kelp_equipment", "kelp_multilayersubnetwork",
                  "kelp_unimplemented", "mx_kelpcorba_env"},
                 {}, restart,
                 "Bundles in the order in which they are started. They are stopped in reverse "
                 "order. The agent (mx_kelpcorba_env) must be last, because it uses the managers "
                 "that the bundles before it have registered."),
        textKey("bundles", "dir", "", {}, restart,
                "Folder of the bundles; empty: the one installed with this program."),
    };
}

std::vector<ConfigKey> agentKeys() {
    return {
        agentNumber(
            "bUseBTName", 0,
            "Rule for repeated log-ins; 1: an NMS that logs in again gets its session back."),
        agentNumber("bUseNuzakummokRule", 0, "A customer's naming rule; 1 switches it on."),
        agentText("MaxSupportNE", "",
                  "Maximum number of network elements, as a text for the bundles that ask for it."),
        agentNumber("IsSwitchToPhyID", 0, "Names with physical ids; 1 switches them on."),
        agentNumber("FTP_Type", 0, "File transfer: kind."),
        agentNumber("FTP_SSL_ConnectMode", 18, "File transfer: how a TLS connection is made."),
        agentNumber("FTP_SSL_AuthMode", 1, "File transfer: authentication over TLS."),
        agentNumber("FTP_Port", 22, "File transfer: port."),
        agentText("FTP_TrustedCer", "../conf/certificate/ca_cert.cer",
                  "File transfer: certificates of the trusted authorities."),
        agentText("FTP_ClientCer", "../conf/certificate/corbaagent.cer",
                  "File transfer: own certificate."),
        agentText("FTP_PrivateKey", "../conf/certificate/corbaagent.cer",
                  "File transfer: own private key."),
        agentNumber("bReportCrossConn", 0, "Report cross-connections; 1 switches it on."),
        agentNumber("bReportAckAlarm", 0, "Report acknowledged alarms; 1 switches it on."),
        agentNumber("ResourceNameType", 0, "Kind of resource names."),
        agentNumber("NotifyModel", 3, "Model of the notifications."),
        agentNumber("FilterResourceIDLevel", 0, "Level down to which resource ids are filtered."),
        agentNumber("HeartbeatEventType", 0, "Kind of the heartbeat event."),
        agentNumber("AlarmCompatibility", 0, "Compatibility of alarms with older clients."),
        agentNumber("Tasizeisfaf", 0, "A compatibility switch; 1 switches it on."),
        agentNumber("Cachesize", 10000, "Size of the cache, in entries."),
        agentNumber("Eventlistsize", 500, "Size of the event list, in entries."),
        agentNumber("Notifyalarmscache", 10000,
                    "Size of the cache of notified alarms, in entries."),
        agentNumber("CharacterSetSwitch", 0, "Conversion of character sets."),
        agentNumber("IsAlarmProbableCauseQualifierCompatible", 1,
                    "Alarms carry the older probable cause qualifier; 0 switches it off."),
        agentNumber("AlarmWithTCA", 0, "Report threshold crossings as alarms."),
        agentNumber("bAccDevCompatibility", 0, "Compatibility for access devices."),
        agentNumber("IsReportSubnet", 0, "Report subnets with alarms."),
    };
}

std::vector<ConfigKey> allKeys() {
    std::vector<ConfigKey> keys = serviceKeys();
    std::vector<ConfigKey> agent = agentKeys();
    const auto admin = std::find_if(keys.begin(), keys.end(),
                                    [](const ConfigKey& key) { return key.table == "admin"; });
    keys.insert(admin, std::make_move_iterator(agent.begin()),
                std::make_move_iterator(agent.end()));
    return keys;
}

}  // namespace

const std::vector<ConfigTable>& configTables() {
    static const std::vector<ConfigTable> tables = {
        {"ems", "Who this EMS is."},
        {"orb", "The CORBA endpoint."},
        {"tls",
         "CORBA calls over TLS. The files are read again when the configuration is reloaded."},
        {"naming", "The naming service where clients find the session factory."},
        {"notification", "The notification channel."},
        {"session", "Sessions of NMS and how long they live."},
        {"iterator", "Limits of the iterators through which long results are read."},
        {"access", "Who may call."},
        {"security",
         "User accounts. Passwords are never in this file: they are set with kelpctl user."},
        {"oplog", "The operation log."},
        {"managers", "The managers that an NMS finds."},
        {"inventory", "Managed elements, their equipment, ports and links."},
        {"alarms", "The list of alarms."},
        {"snmp",
         "SNMP traps and informs from network elements. Communities and passwords are never in "
         "this file."},
        {"trace", "The trace."},
        {"time", "Times on the interface."},
        {"agent",
         "Options of the agent and of other bundles. A missing key has the value shown. Read again "
         "on SIGHUP. In this version only bUseBTName has an effect; the other options are for "
         "bundles that ask for them."},
        {"admin", "The operator's interface."},
        {"bundles", "What the host loads."},
    };
    return tables;
}

const std::vector<ConfigKey>& configKeys() {
    static const std::vector<ConfigKey> keys = allKeys();
    return keys;
}

const ConfigKey* findConfigKey(const std::string& name) {
    const std::vector<ConfigKey>& keys = configKeys();
    const auto found = std::find_if(keys.begin(), keys.end(),
                                    [&](const ConfigKey& key) { return key.name() == name; });
    return found == keys.end() ? nullptr : &*found;
}

}  // namespace NS_BUNDLEMGR1
