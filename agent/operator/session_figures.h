#pragma once

#include <kelp/corbabase/call_meter.h>
#include <kelp/notification/consumer_counts.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "adapter/session_life.h"
#include "history/session_record.h"

namespace NS_KELPCORBA {

class EmsSession_IImpl;
template <class S>
class ServantRef;

/// The state of one session at one moment. Plain values: nothing is locked while they are read.
struct SessionFigures {
    SessionRecord begun{};
    std::string name{};  ///< of its top POA
    std::int32_t state = 0;
    std::int32_t unansweredPings = 0;  ///< in a row
    PingFigures pings{};
    NS_CORBA::CallFigures calls{};
    std::size_t iterators = 0;
    EventFigures events{};  ///< of all its consumers, with those that have ended
    std::vector<kelp::notification::ConsumerCounts> consumers{};
};

/// The listed sessions, oldest first. With `number` only this one. Takes each lock for a moment.
std::vector<SessionFigures> listedSessions(std::optional<std::uint64_t> number = std::nullopt);

/// The listed session with this number, pinned. Null when there is none.
ServantRef<EmsSession_IImpl> sessionWith(std::uint64_t number);

/// The state's word in the operator's interface, such as "normal".
std::string stateWord(std::int32_t state);

}  // namespace NS_KELPCORBA
