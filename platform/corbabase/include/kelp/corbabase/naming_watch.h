#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace NS_CORBA {

/// What is known of the session factory's entry in the naming service.
struct NamingEntryState {
    using Time = std::chrono::system_clock::time_point;

    std::string reference;        ///< the factory's own, stringified; empty before the first check
    bool isOurs = false;          ///< at the last check
    bool isBound = false;         ///< bound by this process, or found ours, since no failure
    std::optional<Time> checked;  ///< the last one that got an answer
    std::string failure;          ///< why the last check got none; empty: it did
    std::uint64_t replaced = 0;   ///< how often another reference stood there and was replaced
    std::optional<Time> replacedAt;
    std::string foreign;  ///< addresses of the reference that was replaced last
};

/// Keeps what the naming monitor finds, for the operator, and writes a security event for each
/// entry that was not ours: the first of each foreign reference at once, then one a minute with
/// their number. One for the process, callable from any thread.
class KELP_EXPORT NamingWatch {
  public:
    static NamingWatch& Instance();

    /// The reference that the entry is to be. Another one than before begins a new watch.
    void Begin(const std::string& reference);
    /// A check found the entry ours, or missing.
    void Checked(bool isOurs);
    /// The entry was made, or replaced by ours.
    void Bound();
    /// A check got no answer, or the entry could not be made.
    void Failed(const std::string& why);
    /// A check found another reference, which was replaced by ours or, when that failed, still
    /// stands there.
    void FoundForeign(const std::string& reference, bool isReplaced);

    NamingEntryState State() const;

    NamingWatch(const NamingWatch&) = delete;
    NamingWatch& operator=(const NamingWatch&) = delete;

  private:
    NamingWatch();
    ~NamingWatch();
    struct Watched;
    std::unique_ptr<Watched> watched_;
};

}  // namespace NS_CORBA
