#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace NS_CORBA {

/// The state of the session factory's entry in the naming service.
struct NamingEntryState {
    using Time = std::chrono::system_clock::time_point;

    std::string reference;  ///< our factory's reference, stringified; empty before Begin
    bool isOurs = false;    ///< the last check found our reference
    /// Bound by this process or found to be ours, with no failure since.
    bool isBound = false;
    std::optional<Time> boundSince;  ///< the beginning of isBound; none: not bound
    std::optional<Time> checked;     ///< time of the last check that got an answer
    std::string failure;             ///< why the last check got no answer; empty: it got one
    std::string lastFailure;         ///< the newest failure, also when a later check got an answer
    std::optional<Time> lastFailureAt;
    std::uint64_t replaced = 0;  ///< number of foreign references replaced by ours
    std::optional<Time> replacedAt;
    std::string foreign;  ///< addresses in the foreign reference found last
};

/// Keeps the findings of the naming monitor for the operator. Writes security events for entries
/// that were not ours. The first entry with a foreign address is recorded at once. Further ones
/// with that address are summarised in one event a minute. One for the process; any thread may call
/// it.
class KELP_EXPORT NamingFindings {
  public:
    static NamingFindings& Instance();

    /// Set the reference that the entry must hold. A reference other than the previous one resets
    /// the state.
    void Begin(const std::string& reference);
    /// A check found our entry (`isOurs`), or no entry.
    void Checked(bool isOurs);
    /// The entry was created, or replaced by ours.
    void Bound();
    /// A check got no answer, or the entry could not be created.
    void Failed(const std::string& why);
    /// A check found a foreign reference. `isReplaced`: it was replaced by ours; otherwise it is
    /// still bound.
    void FoundForeign(const std::string& reference, bool isReplaced);

    NamingEntryState State() const;

    NamingFindings(const NamingFindings&) = delete;
    NamingFindings& operator=(const NamingFindings&) = delete;

  private:
    NamingFindings();
    ~NamingFindings();
    struct Watched;
    std::unique_ptr<Watched> watched_;
};

}  // namespace NS_CORBA
