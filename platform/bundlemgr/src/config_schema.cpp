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
                "Level of the TMF 814 interface, written into the naming path and answered by "
                "getVersion."),
        flagKey("ems", "lenient_names", true, Change::AtReload,
                "Take a name that an NMS gives without its first component EMS, or with an empty "
                "one, for the "
                "name of an object of this EMS. Otherwise it is refused with EXCPT_INVALID_INPUT."),

        textKey("orb", "listen", "127.0.0.1:4800", {}, restart,
                "Address and port for CORBA calls over TCP, as host:port or [ipv6]:port; port 0 "
                "takes a free "
                "one. A wildcard address (0.0.0.0 or [::]) needs publish."),
        textKey("orb", "publish", "", {}, restart,
                "Host, or host:port, written into the references that are handed out, where "
                "clients reach this "
                "process by another address than it listens on (NAT, several networks). Empty: as "
                "listened."),
        integerKey("orb", "threads_max", 0, 0, 10000, restart,
                   "Most threads that serve one client's connection at the same time; 0 leaves it "
                   "to the ORB."),
        integerKey("orb", "message_bytes_max", 104857600, 8192, kIntMax, restart,
                   "Longest CORBA message taken or sent, in bytes."),
        textKey("orb", "transport", "gate", {"gate", "orb"}, restart,
                "What accepts connections: \"gate\", which lets only well-formed messages of "
                "allowed callers "
                "through to the ORB, within the limits below; or \"orb\", the ORB's own transport, "
                "which has "
                "none of them, to work around a fault in the gate."),
        integerKey("orb", "connections_max", 2000, 2, 1000000, restart,
                   "Most connections in all, and at most half of the descriptors that this process "
                   "may have. "
                   "One more takes the place of one that has brought no request, or of the one "
                   "idle longest "
                   "whose address has no log-in; otherwise it is refused."),
        integerKey(
            "orb", "connections_per_address_max", 500, 1, 1000000, restart,
            "Most connections from one address. One more takes the place of the one idle longest."),
        integerKey("orb", "connections_reserved", 200, 0, 1000000, restart,
                   "Connections out of connections_max that are kept for addresses with a log-in."),
        integerKey(
            "orb", "unfinished_bytes_max", 268435456, 1048576, std::int64_t{1} << 40, restart,
            "Memory for messages that are still arriving, of all connections together, in bytes. A "
            "connection that needs more is closed."),
        integerKey("orb", "header_timeout_s", 10, 1, kDaySeconds, restart,
                   "Seconds within which a new connection's first header arrives, and any other "
                   "header after "
                   "its first octet. A connection that is slower is closed."),
        integerKey(
            "orb", "input_rate_min", 1024, 1, kIntMax, restart,
            "Least rate at which an unfinished message continues, in bytes a second. A connection "
            "that stays below it for header_timeout_s is closed."),
        integerKey(
            "orb", "locate_requests_max", 1000, 1, kIntMax, restart,
            "Most LocateRequests a second from an address with a log-in. A connection beyond it is "
            "closed."),
        textKey("orb", "char_set", "UTF-8", {}, restart, "Code set of the texts inside the EMS."),
        textKey(
            "orb", "unconvertible", "refuse", {"refuse", "question_mark"}, restart,
            "What becomes of a text with a character that the code set of an NMS cannot hold: "
            "\"refuse\" "
            "answers that call with DATA_CONVERSION, and an event with it does not reach that NMS; "
            "\"question_mark\" sends a question mark in its place."),

        integerKey(
            "tls", "mode", 0, 0, 2, restart,
            "0 no TLS, 1 TLS beside TCP, 2 TLS only, for the calls that this process makes too."),
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
                "PEM file with a revocation list of each authority in ca; a certificate that "
                "stands in one is "
                "refused. Empty: revocation is not checked."),
        textKey(
            "tls", "ciphers", "ECDHE+AESGCM:ECDHE+CHACHA20:DHE+AESGCM:DHE+CHACHA20:!aDSS", {},
            restart,
            "Cipher suites for TLS 1.2, in the form of openssl-ciphers(1); only those with forward "
            "secrecy (ECDHE, DHE) and authenticated encryption."),
        textKey(
            "tls", "cipher_suites",
            "TLS_AES_256_GCM_SHA384:TLS_CHACHA20_POLY1305_SHA256:TLS_AES_128_GCM_SHA256", {},
            restart,
            "Cipher suites for TLS 1.3, joined by colons. Older versions of TLS are not spoken."),
        integerKey("tls", "handshakes_max", 400, 1, 1000000, restart,
                   "Most TLS handshakes in progress. One more takes the place of one that has "
                   "taken 3 s, or is "
                   "refused."),
        integerKey("tls", "handshakes_per_address_max", 100, 1, 1000000, restart,
                   "Most TLS handshakes in progress with one address, likewise."),
        textKey("tls", "verify", "require", {"require", "none"}, restart,
                "\"require\": a client must show a certificate that an authority of ca has signed; "
                "\"none\": "
                "it need not."),

        textKey("naming", "host", "127.0.0.1", {}, Change::AtReload,
                "Host of the naming service; of this machine when the naming service is embedded. "
                "While it "
                "is embedded a change needs a restart."),
        integerKey("naming", "port", 4801, 1, kPortMax, Change::AtReload,
                   "Port of the naming service. While it is embedded a change needs a restart."),
        integerKey("naming", "ssl_port", 0, 0, kPortMax, Change::AtReload,
                   "Port of the naming service for TLS; 0 for none."),
        flagKey("naming", "embedded", true, restart,
                "Serve the naming service inside this process, for others to read only; false uses "
                "the one at "
                "host and port."),
        textsKey("naming", "aliases", {}, {}, Change::AtReload,
                 "Further paths under which the embedded naming service shows the session factory, "
                 "each as "
                 "\"id.kind/id.kind\" with '/', '.' and '\\' inside an id or a kind escaped by a "
                 "'\\'. In single "
                 "quotes a '\\' stands for itself. At most 100, of at most 32 components and 1024 "
                 "characters."),
        textKey("naming", "ior_file", "", {}, restart,
                "File that holds the session factory's reference (IOR) while the host runs; empty: "
                "none."),
        integerKey(
            "naming", "list_max", 1000, 1, 100000, Change::AtReload,
            "Most entries in one reply of the embedded naming service; the rest comes through an "
            "iterator."),
        integerKey("naming", "iterators_per_address", 10, 1, 10000, Change::AtReload,
                   "Open iterators of the embedded naming service for one caller's address; one "
                   "more closes "
                   "that address's oldest."),
        integerKey(
            "naming", "iterators_max", 200, 1, 100000, Change::AtReload,
            "Open iterators of the embedded naming service in all; one more closes the oldest."),
        secondsKey(
            "naming", "iterator_idle_s", 120, Change::AtReload,
            "Seconds after its last use that an iterator of the embedded naming service ends."),

        textKey(
            "notification", "mode", "embedded", {"embedded", "external"}, restart,
            "The notification channel: inside this process, or that of a CosNotification service "
            "elsewhere. Only who is logged in may use the first; the second is not guarded by this "
            "host."),
        textKey("notification", "host", "127.0.0.1", {}, Change::AtReload,
                "Host of an external notification service. Its object NotificationService "
                "(corbaloc) must be "
                "an event channel, or a factory, whose eldest channel is taken."),
        integerKey("notification", "port", 4802, 1, kPortMax, Change::AtReload,
                   "Port of an external notification service."),
        integerKey(
            "notification", "ssl_port", 0, 0, kPortMax, Change::AtReload,
            "Port of an external notification service for TLS, used when tls.mode is not 0; 0 for "
            "none."),
        integerKey(
            "notification", "queue_events_max", 10000, 1, 10000000, restart,
            "Events kept for one consumer that does not take them, or for an external notification "
            "service that is away."),
        integerKey("notification", "delivery_threads_max", 64, 1, 1000, restart,
                   "Most threads that deliver events."),
        secondsKey("notification", "push_timeout_s", 10, restart,
                   "Limit of one call that delivers events, in seconds."),
        secondsKey("notification", "dead_consumer_after_s", 600, restart,
                   "A consumer that answers nothing for this many seconds is given up; one that "
                   "pulls, when it "
                   "has not pulled for as long while events waited."),
        integerKey("notification", "heartbeat_s", 60, 0, kDaySeconds, restart,
                   "Seconds between heartbeat events; 0 sends none."),
        integerKey(
            "notification", "consumers_per_address_max", 200, 1, 1000000, restart,
            "Proxies of consumers that clients at one address may have in the channel at the same "
            "time, connected or not; beyond, AdminLimitExceeded. They count until they are "
            "disconnected or dropped."),
        integerKey("notification", "suppliers_per_address_max", 100, 1, 1000000, restart,
                   "The same for proxies of suppliers."),
        integerKey(
            "notification", "admins_per_address_max", 500, 1, 1000000, restart,
            "Admins that clients at one address may have in the channel at the same time; beyond, "
            "NO_RESOURCES. They count until they are destroyed."),
        integerKey("notification", "filters_per_address_max", 5000, 1, 1000000, restart,
                   "The same for filters, of which the channel has 10000 at most."),
        integerKey("notification", "consumers_per_login_max", 20, 1, 1000000, restart,
                   "Proxies of consumers that one log-in may have in the channel at the same time; "
                   "beyond, "
                   "AdminLimitExceeded. What is made over a connection whose log-in is not known "
                   "counts for "
                   "its address."),
        integerKey("notification", "admins_per_login_max", 50, 1, 1000000, restart,
                   "Admins that one log-in may have; beyond, NO_RESOURCES."),
        integerKey("notification", "filters_per_login_max", 500, 1, 1000000, restart,
                   "Filters that one log-in may have; beyond, NO_RESOURCES."),
        integerKey(
            "notification", "constraints_per_login_max", 2000, 1, 1000000, restart,
            "Constraints of all filters of one log-in together, of which a filter has 200 at most; "
            "beyond, NO_RESOURCES."),
        integerKey(
            "notification", "constraint_bytes_max", 8192, 64, 1048576, restart,
            "Longest constraint with the names of its event types, in bytes; a longer one is an "
            "InvalidConstraint."),
        integerKey("notification", "constraint_cost_max", 20000, 10, 100000000, restart,
                   "Most steps that evaluating a constraint may need, estimated from its text "
                   "(about 1 for "
                   "each operator and step of a path, 50 for a sequence that is searched); a more "
                   "costly one "
                   "is an InvalidConstraint."),
        integerKey("notification", "evaluation_cost_max", 50000, 10, 100000000, restart,
                   "Most steps that the filters of one consumer may take for one event; one that "
                   "takes more "
                   "does not match."),
        integerKey(
            "notification", "filter_threads", 2, 2, 64, restart,
            "Most threads that filter events for consumers; one log-in has all but one of them at "
            "most."),
        textsKey("notification", "suppliers", {}, {}, restart,
                 "Networks (address or address/prefix length) whose hosts may push events into the "
                 "channel, "
                 "if they are logged in; others get NO_PERMISSION from supplier admins."),
        flagKey("notification", "alarm_log", false, restart,
                "Write every alarm taken in to the alarm log."),
        flagKey("notification", "fill_ne_time", true, restart,
                "Give an event whose source says no neTime its emsTime as neTime: some NMS compute "
                "with it. "
                "Otherwise it goes out without one."),

        integerKey("session", "release_strategy", 0, 0, 2, restart,
                   "When sessions end without a log-out or a failed ping: 0 never; 1 the oldest "
                   "when there "
                   "are more than max_sessions, with ping_mode = false only; 2 when the NMS has "
                   "been silent "
                   "for silent_time_s."),
        flagKey("session", "ping_mode", true, restart,
                "Whether the EMS pings the NMS of each session."),
        secondsKey("session", "ping_interval_s", 60, restart,
                   "Seconds between two rounds of pings. An NMS that fails four in a row loses its "
                   "session "
                   "in the fifth round."),
        integerKey("session", "ping_threads", 32, 1, 1000, restart,
                   "Most NMS that are pinged at the same time. With more that hang, the pings of "
                   "the others "
                   "come up to call_timeout_s late."),
        flagKey("session", "call_is_life", false, restart,
                "Whether a call of an NMS on its session, a manager or an iterator since the last "
                "ping counts "
                "like an answer to the ping, for NMS that cannot be called."),
        secondsKey("session", "call_timeout_s", 10, restart,
                   "Limit of one call to an NMS, in seconds, connecting included."),
        secondsKey("session", "silent_time_s", 1800, restart,
                   "Seconds an NMS may be silent or unreachable under release strategy 2."),
        integerKey(
            "session", "max_sessions", 100, 1, 1000000, Change::AtReload,
            "Most sessions at the same time under release strategy 1 with ping_mode = false."),
        integerKey(
            "session", "per_account_max", 250, 1, 1000000, Change::AtReload,
            "Sessions of one account at the same time; a log-in beyond is refused with "
            "EXCPT_ACCESS_DENIED. A log-in that takes up or replaces a session of its own is not."),
        integerKey("session", "log_ins_at_once", 20, 0, 1000000, Change::AtReload,
                   "Log-ins of one NMS and user that are served at once; further ones wait a "
                   "second each until "
                   "the NMS has paused, for each second one more being free. 0: none waits."),
        integerKey(
            "session", "per_address_max", 500, 1, 1000000, Change::AtReload,
            "Sessions from one address at the same time, of whatever accounts; NMS behind one NAT "
            "address share it."),

        integerKey("iterator", "soft_limit", 200, 1, 1000000, Change::AtReload,
                   "Open iterators above which the opening of one more closes the oldest "
                   "(IteratorRestriction)."),
        integerKey("iterator", "hard_limit", 1000, 1, 1000000, Change::AtReload,
                   "Open iterators from which on no more are opened (IteratorNum): the NMS is "
                   "refused with "
                   "EXCPT_TOO_MANY_OPEN_ITERATORS. At or below soft_limit old ones are never "
                   "closed for new ones."),
        integerKey("iterator", "per_session_max", 100, 1, 1000000, Change::AtReload,
                   "Most open iterators of one session: the opening of one more closes its oldest, "
                   "so that "
                   "one NMS cannot use up the limits above."),
        integerKey("iterator", "batch_max", 5000, 1, 1000000, Change::AtReload,
                   "Most entries of one batch, whatever an NMS asks for; its encoded size stays "
                   "below 1 MiB "
                   "besides."),
        integerKey("iterator", "read_ahead", 16, 0, 1000, Change::AtReload,
                   "Iterators whose next batch may be read and held while their NMS works on the "
                   "last one; "
                   "each holds one batch in memory. 0: none."),

        integerKey("access", "message_bytes_before_login", 65536, 4096, kIntMax, restart,
                   "Longest message from an address without a log-in, in bytes. A connection with "
                   "a longer "
                   "one is closed."),
        integerKey("access", "locate_requests_before_login", 100, 1, kIntMax, restart,
                   "Most LocateRequests a second from an address without a log-in. A connection "
                   "beyond it is "
                   "closed."),
        textsKey(
            "access", "allowed_oss", {"127.0.0.0/8"}, {}, Change::AtReload,
            "Networks (address or address/prefix length, IPv4 or IPv6) whose hosts may call. "
            "Connections "
            "from elsewhere are closed at once, calls over those that exist already are refused "
            "(NO_PERMISSION); both stand in the security log. A host name here "
            "counts for nms_reference only; it is never resolved."),
        textKey("access", "nms_reference", "peer", {"peer", "allowed", "any"}, Change::AtReload,
                "Which addresses the references of an NMS, which the EMS calls, may name (its "
                "session, consumers "
                "of events and callbacks, and where it forwards calls to): \"peer\" that of its "
                "connection only, "
                "\"allowed\" those in allowed_oss, \"any\" every one. A log-in or consumer with "
                "another is "
                "refused, and a forward to another not followed. With \"peer\" and \"allowed\" "
                "host names are "
                "refused unless allowed_oss lists them."),
        integerKey(
            "access", "requests_per_second_before_login", 200, 0, 1000000, Change::AtReload,
            "Requests a second that an address may make while no NMS is logged in from it, counted "
            "together for the /64 network of an IPv6 address; further ones are refused (TRANSIENT) "
            "and summarised in the security log. 0: no limit."),
        integerKey(
            "access", "requests_burst_before_login", 1000, 1, 1000000, Change::AtReload,
            "Requests that such an address may make at once before the limit applies; several NMS "
            "that start behind one NAT address share it."),
        textKey("access", "session_peer", "address", {"address", "any"}, Change::AtReload,
                "Who may call a session's objects: \"address\" only the address that logged in, so "
                "that a "
                "reference is of no use elsewhere, \"any\" every caller that has the reference, "
                "for NMS "
                "behind a proxy that calls from several addresses. A refused call gets "
                "NO_PERMISSION and "
                "stands in the security log."),

        textKey("security", "database", "", {}, restart,
                "SQLite file of the user accounts; empty: users.db below the state directory."),
        integerKey("security", "lockout_failures", 5, 1, 1000, Change::AtReload,
                   "Wrong passwords after which a user is locked out for a time, at the address "
                   "that they came "
                   "from. After ten times as many from anywhere, each address that the user has "
                   "not logged in "
                   "from has one attempt. After ten times as many for whatever users, the address "
                   "waits 1 s, "
                   "then 2 s and so on up to lockout_s. kelpctl user unlock ends all that."),
        secondsKey("security", "lockout_s", 300, Change::AtReload,
                   "How many seconds a user is locked out; each further failure doubles it, up to "
                   "8 times as "
                   "long. Failures are forgotten after a quiet time of twice as long."),
        integerKey(
            "security", "hash_memory_kib", 19456, 8, 4194304, Change::AtReload,
            "Memory of one password hash (Argon2id), in KiB. Stored hashes keep the cost they were "
            "made with."),
        flagKey("security", "core_dumps", false, restart,
                "Whether a crash of this process may leave a core dump. It holds all that is in "
                "memory, "
                "passwords and keys included."),
        integerKey("security", "hash_passes", 2, 1, 1000, Change::AtReload,
                   "Passes of one password hash (Argon2id)."),

        textKey(
            "oplog", "database", "", {}, restart,
            "SQLite file of the operation log; empty: oplog.db below the state directory. The "
            "security "
            "log lies beside it with -audit in its name (oplog-audit.db), under the same limits."),
        textKey("oplog", "audit_key_file", "", {}, restart,
                "File with the key of the security log's chain, made at the first start (mode "
                "0600); empty: "
                "audit.key in the folder of the security log. Refused when others can read it. "
                "Keep a copy: "
                "without it the log can be neither checked nor continued."),
        integerKey("oplog", "keep_days", 180, 1, 36500, Change::AtReload,
                   "Days that records are kept."),
        integerKey("oplog", "keep_mib", 1024, 1, 1048576, Change::AtReload,
                   "Size of a log above which its oldest records go, in MiB."),
        integerKey(
            "oplog", "keep_before_login_mib", 64, 1, 1048576, Change::AtReload,
            "The same for the records of callers without a log-in, in MiB. They lie in a database "
            "beside the log with -before-login in its name (oplog-before-login.db), so that they "
            "push "
            "no other records out; kelpctl oplog shows both together."),
        integerKey("oplog", "records_per_minute_before_login", 100, 1, 1000000, Change::AtReload,
                   "Records of such callers, of one address and outcome, that stand in the log "
                   "individually "
                   "within a minute; further ones are summarised in one record."),
        integerKey("oplog", "queue_max", 200000, 1, 10000000, restart,
                   "Records of a log that wait for the disk at most; beyond it a gap record tells "
                   "how many are "
                   "missing."),
        integerKey("oplog", "stall_max_ms", 2000, 0, 60000, restart,
                   "How long a request waits at most for room in a full queue, in milliseconds; "
                   "once one has "
                   "waited in vain, no other waits until there is room."),

        textsKey(
            "managers", "offered", standardManagers(), standardManagers(), restart,
            "The standard's managers that NMS are offered. One that no bundle implements answers "
            "every "
            "operation with EXCPT_NOT_IMPLEMENTED, while getManager for one that is not offered is "
            "refused; some NMS give up altogether when it is. Managers of other names that a "
            "bundle "
            "brings are always offered."),

        textKey(
            "inventory", "database", "", {}, restart,
            "SQLite file of the inventory; empty: inventory.db below the state directory. kelpctl "
            "inventory import fills it, also while the host runs."),

        textsKey("trace", "sinks", {"console"}, {"console", "file", "journal"}, restart,
                 "Where trace lines go: any of \"console\" (standard error), \"file\" and "
                 "\"journal\" (of "
                 "systemd)."),
        textKey("trace", "file", "", {}, restart,
                "The file of the sink \"file\"; rotated at 20 MiB, ten are kept."),
        integerKey(
            "trace", "level", 1, 0, 3, Change::AtReload,
            "Highest level of diagnostics that is kept: 0 failures, 1 refusals and set-up, 2 "
            "configuration, 3 everything."),
        integerKey("trace", "lines_per_minute_before_login", 20, 1, 1000000, Change::AtReload,
                   "Lines of one kind that one address without a log-in may cause within a minute; "
                   "further "
                   "ones are summarised in one line. The same holds for the ORB's own messages."),

        integerKey("time", "appearance", 0, 0, 1, Change::AtReload,
                   "Form of times on the interface: 0 compact (yyyyMMddhhmmss.0), 1 with slashes "
                   "(dd/MM/yyyy hh:mm:ss)."),
        integerKey("time", "reference", 0, 0, 1, Change::AtReload,
                   "Times on the interface are 0 UTC, 1 local time."),

        textKey("admin", "listen", "", {}, restart,
                "Address of the operator's interface, which kelpctl alarm and kelpctl storm use. "
                "Empty: the "
                "Unix socket admin.sock in the state directory. Or host:port or [ipv6]:port with "
                "an address "
                "of the loopback interface; callers then send the token that stands in the file "
                "admin.token "
                "in the state directory."),

        textsKey(
            "bundles", "load",
            {"kelp_ems", "kelp_managedelement", "kelp_equipment", "kelp_multilayersubnetwork",
             "kelp_unimplemented", "mx_kelpcorba_env"},
            {}, restart,
            "Bundles in the order of their start, stopped in reverse; the agent (mx_kelpcorba_env) "
            "last, since it takes the managers that others have entered before it."),
        textKey("bundles", "dir", "", {}, restart,
                "Folder of the bundles; empty: the one installed with this program."),
    };
}

std::vector<ConfigKey> agentKeys() {
    return {
        agentNumber(
            "bUseBTName", 0,
            "Reuse rule of the log-in; 1 gives an NMS that logs in again its session back."),
        agentNumber("bUseNuzakummokRule", 0, "A customer's naming rule; 1 switches it on."),
        agentText("MaxSupportNE", "",
                  "Largest number of network elements, as other bundles want it."),
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
         "CORBA calls over TLS. What the files hold is taken over when the configuration is read "
         "again."},
        {"naming", "The naming service where clients find the session factory."},
        {"notification", "The notification channel."},
        {"session", "Sessions of NMS and how long they live."},
        {"iterator", "Limits of the iterators that long results are read through."},
        {"access", "Who may call."},
        {"security", "User accounts. Passwords never stand here: they are set with kelpctl user."},
        {"oplog", "The operation log."},
        {"managers", "The managers that an NMS finds."},
        {"inventory", "Managed elements, their equipment, ports and links."},
        {"trace", "The trace."},
        {"time", "Times on the interface."},
        {"agent",
         "Options of the agent and of the bundles beside it; a missing key has the value shown. "
         "Read again "
         "on SIGHUP. In this version bUseBTName has an effect; the others are there for bundles "
         "that ask for "
         "them."},
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
