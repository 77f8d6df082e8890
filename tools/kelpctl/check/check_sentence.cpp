#include "check/check_sentence.h"

#include <kelp/util/trace_log.h>

#include <cstdio>
#include <string_view>

namespace kelp::ctl {

namespace {

/// Room for a reason of the EMS. The texts of config/errors.toml are shorter.
constexpr std::size_t kReasonBytesMax = 400;
constexpr std::size_t kAddressBytesMax = 300;

std::string shownReason(const Failure& failure) {
    std::string reason = util::escaped(failure.reason, kReasonBytesMax);
    while (!reason.empty() && reason.back() == '.' && !reason.ends_with("..."))
        reason.pop_back();
    return reason.empty() ? "no reason was given" : reason;
}

/// What the sentences are made of.
struct SentenceParts {
    SentenceParts(const Failure& failure, const CheckTarget& checkTarget)
        : target(checkTarget),
          cause(failure.cause),
          at(util::escaped(failure.address, kAddressBytesMax)),
          reason(shownReason(failure)),
          path(util::escaped(target.path, kAddressBytesMax)),
          user(util::escaped(target.user, kAddressBytesMax)) {
        char text[40];
        std::snprintf(text, sizeof text, "%g s", static_cast<double>(target.limit.count()) / 1000);
        seconds = text;
    }

    const CheckTarget& target;
    Cause cause;
    std::string at;
    std::string reason;
    std::string path;
    std::string user;
    std::string seconds;
};

std::string startNaming(const SentenceParts& parts) {
    return parts.target.isEmbedded
               ? "It is inside kelpd: start kelpd, or see its trace for why it does not listen."
               : "Start it, or correct [naming] host and port.";
}

std::string namingSentence(const SentenceParts& parts) {
    const std::string service = "The naming service at " + parts.at;
    switch (parts.cause) {
        case Cause::UnknownHost:
            return "The host " + parts.at +
                   " of the naming service has no address: is [naming] host spelled right, and "
                   "does "
                   "the DNS know it?";
        case Cause::Refused:
            return service + " refuses connections: is it running? " + startNaming(parts);
        case Cause::NoRoute:
            return service + " cannot be reached (" + parts.reason +
                   "): check the network and [naming] host.";
        case Cause::NotConnected:
            return service + " did not answer an attempt to connect within " + parts.seconds +
                   ": is the machine down, or a firewall in between?";
        case Cause::NoAnswer:
            return service + " accepts connections but did not answer within " + parts.seconds +
                   ": it hangs, or another program has this port. Restart it, or correct [naming] "
                   "host and port.";
        case Cause::WrongObject:
        case Cause::UnknownObject:
            return "What answers at " + parts.at +
                   " is not a naming service: correct [naming] host and port.";
        default:
            return service + " closed the connection or failed (" + parts.reason +
                   "): does it expect " +
                   (parts.target.overTls ? "TLS, and does its certificate suit [tls] ca?"
                                         : "calls without TLS, and do [access] allowed_oss include "
                                           "this machine?");
    }
}

std::string entrySentence(const SentenceParts& parts) {
    switch (parts.cause) {
        case Cause::NotBound:
            return "The naming service at " + parts.at + " has no entry " + parts.path +
                   ": is kelpd running, and with the same [ems] name and version? It writes the "
                   "entry when it starts.";
        case Cause::WrongObject:
            return "The naming entry " + parts.path + " holds no usable reference (" +
                   parts.reason +
                   "): somebody else wrote it. Remove it; kelpd writes its own within seconds.";
        case Cause::NoAnswer:
            return namingSentence(parts);
        default:
            return "The naming service at " + parts.at + " cannot resolve the entry " + parts.path +
                   " (" + parts.reason + "): see its log.";
    }
}

std::string addressSentence(const SentenceParts& parts) {
    const std::string leads = "The naming entry points to " + parts.at;
    switch (parts.cause) {
        case Cause::NoAddress:
            return std::string("The naming entry has no address that can be called ") +
                   (parts.target.overTls
                        ? "over TLS: check [tls] mode and listen of kelpd."
                        : "without TLS: check [orb] listen and [tls] mode of kelpd.");
        case Cause::UnknownHost:
            return leads +
                   ", a host without an address: let [orb] publish name a host that the DNS of the "
                   "NMS knows.";
        case Cause::Refused:
            return leads +
                   ", which nobody listens on: an old entry? Start kelpd, which replaces it, or "
                   "remove the entry.";
        case Cause::NotConnected:
        case Cause::NoAnswer:
            return leads + ", which did not answer an attempt to connect within " + parts.seconds +
                   ": an old entry, a machine that is down, or a firewall? kelpctl naming shows "
                   "whether the entry is ours; [orb] publish sets the address in it.";
        default:
            return leads + ", which cannot be reached (" + parts.reason +
                   "): an old entry? kelpctl naming shows whether the entry is ours; [orb] publish "
                   "sets the address in it.";
    }
}

std::string factorySentence(const SentenceParts& parts) {
    switch (parts.cause) {
        case Cause::NoAnswer:
            return "The session factory at " + parts.at +
                   " accepts connections but did not answer within " + parts.seconds +
                   ": kelpd hangs or is overloaded, or another program has this port. See kelpctl "
                   "status.";
        case Cause::WrongObject:
            return "What answers at " + parts.at +
                   " is not a session factory: an old entry, whose port another program has now? "
                   "kelpctl naming shows whether the entry is ours.";
        case Cause::UnknownObject:
            return "What answers at " + parts.at +
                   " does not know the session factory of the naming entry: an old entry? kelpctl "
                   "naming shows whether the entry is ours.";
        case Cause::Denied:
            return "The session factory at " + parts.at +
                   " refuses calls from this machine: check [access] allowed_oss.";
        default:
            return "The session factory at " + parts.at + " closed the connection or failed (" +
                   parts.reason +
                   "): do [access] allowed_oss and [tls] suit this machine? See the trace of "
                   "kelpd.";
    }
}

/// The codes of config/errors.toml whose remedy is known, and the remedy.
struct Remedy {
    std::string_view code;  ///< decimal, as the EMS writes it before the text
    const char* before;
    bool namesUser;
    const char* after;
};

constexpr Remedy kRemedies[] = {
    {"76545955", "Give the right password in --password-file; further wrong ones lock ", true,
     " out."},
    {"76545956", "kelpctl user enable ", true, " enables it."},
    {"76545957", "kelpctl status says what is wrong with them.", false, ""},
    {"76545958", "Wait, or end that with kelpctl user unlock ", true, "."},
    {"76545959", "kelpctl user expire ", true, " sets another time."},
    {"76545960", "kelpctl user networks ", true, " sets from where."},
    {"76545963", "kelpctl user tls ", true, " sets with which."},
    {"76545964", "kelpctl drain --end accepts log-ins again.", false, ""},
};

/// The EMS writes "(code) text". Return the code, or nothing if the reason begins otherwise.
std::string_view codeOf(std::string_view reason) {
    const std::size_t end = reason.find(") ");
    return reason.starts_with('(') && end != std::string_view::npos ? reason.substr(1, end - 1)
                                                                    : std::string_view();
}

std::string refusalSentence(const SentenceParts& parts) {
    const std::string_view code = codeOf(parts.reason);
    const std::string sentence =
        "Log-in of " + parts.user +
        " refused: " + (code.empty() ? parts.reason : parts.reason.substr(code.size() + 3)) + ". ";
    for (const Remedy& each : kRemedies) {
        if (each.code == code)
            return sentence + each.before + (each.namesUser ? parts.user : "") + each.after;
    }
    return sentence + "kelpctl audit --event login --since 5m shows it.";
}

std::string logInSentence(const SentenceParts& parts) {
    switch (parts.cause) {
        case Cause::Denied:
            return refusalSentence(parts);
        case Cause::NoAnswer:
            return "The log-in of " + parts.user + " got no answer within " + parts.seconds +
                   ": kelpd hangs or is overloaded. See kelpctl status.";
        default:
            return "The log-in of " + parts.user + " failed (" + parts.reason +
                   "): see the trace of kelpd.";
    }
}

/// A failure of a call within the session.
std::string sessionSentence(const SentenceParts& parts, const std::string& what,
                            const std::string& advice) {
    switch (parts.cause) {
        case Cause::NoAnswer:
            return what + " did not answer within " + parts.seconds +
                   ": kelpd hangs or is overloaded. See kelpctl status.";
        case Cause::UnknownObject:
            return what +
                   " no longer exists: has somebody ended the session? kelpctl sessions "
                   "--ended shows it.";
        case Cause::StillThere:
            return what + " still exists " + parts.seconds +
                   " after the log-out: a call in it may hang. kelpctl sessions shows it.";
        default:
            return what + " failed (" + parts.reason + "): " + advice;
    }
}

}  // namespace

std::string sentenceOf(const StepResult& failed, const CheckTarget& target) {
    const SentenceParts parts(failed.failure.value_or(Failure{}), target);
    if (parts.cause == Cause::NotStarted)
        return "This program cannot make the check (" + parts.reason + ").";
    switch (failed.step) {
        case Step::Naming:
            return namingSentence(parts);
        case Step::Entry:
            return entrySentence(parts);
        case Step::Address:
            return addressSentence(parts);
        case Step::Factory:
            return factorySentence(parts);
        case Step::LogIn:
            return logInSentence(parts);
        case Step::Manager:
            return sessionSentence(
                parts, "The manager EMS",
                "is the bundle kelp_ems in [bundles] load? See the trace of kelpd.");
        case Step::Channel:
            return sessionSentence(parts, "The event channel",
                                   "check [notification] mode and its limits. kelpctl consumers "
                                   "shows who is connected.");
        default:
            return sessionSentence(parts, "The session", "see the trace of kelpd.");
    }
}

}  // namespace kelp::ctl
