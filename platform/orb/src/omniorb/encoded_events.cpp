#include "omniorb/encoded_events.h"

#include <kelp/util/mutex.h>
#include <omniORB4/internal/orbParameters.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>
#include <utility>
#include <vector>

#include "omniorb/learned_types.h"
#include "omniorb/stream_places.h"

namespace kelp::orb {

namespace {

using CodeSet = omni::omniCodeSet;
using Octets = std::span<const std::uint8_t>;
using Verdict = giop::EventScan::Verdict;

constexpr std::size_t kUnitOfIndex = 4;
/// Types of one event that are learned at once.
constexpr int kNewTypesMax = 64;
/// Enough for most events.
constexpr CORBA::ULong kTypicalOctets = 2048;

std::size_t aligned(std::size_t at) {
    return (at + kLargestAlignment - 1) / kLargestAlignment * kLargestAlignment;
}

/// Whether the code set is ASCII for octets below 0x80, and has the same octets for nothing else.
bool containsAscii(const CodeSet::TCS_C* codeSet) {
    if (codeSet == nullptr)
        return false;
    const auto id = codeSet->id();
    return id == CodeSet::ID_8859_1 || id == CodeSet::ID_UTF_8 || id == CodeSet::ID_8859_2 ||
           id == CodeSet::ID_8859_15 || id == CodeSet::ID_CP1252;
}

/// Values that are kept until the process ends, each once. Any thread may call it.
template <class Value>
class KeptOnce {
  public:
    const Value* get(const Value& value) KELP_EXCLUDES(mutex_) {
        const util::MutexLock lock(mutex_);
        const auto known = std::find(values_.begin(), values_.end(), value);
        // references into the deque stay valid when it grows
        return known == values_.end() ? &values_.emplace_back(value) : &*known;
    }

  private:
    util::Mutex mutex_{util::LockRank::Service, "KeptOnce::mutex_"};
    std::deque<Value> values_ KELP_GUARDED_BY(mutex_);
};

/// Find the parts of an event. Types that it does not know are learned only if the ORB has accepted
/// the octets, or has made them.
Verdict scan(Octets octets, std::size_t at, giop::EventMap& map, bool isAccepted) {
    for (int i = 0; i < kNewTypesMax; ++i) {
        const auto types = LearnedTypes::instance().current();
        giop::EventScan scan(octets, at, *types, map);
        const Verdict verdict = scan.run();
        if (verdict != Verdict::UnknownType || !isAccepted)
            return verdict;
        if (!LearnedTypes::instance().learn(map.typeCode))
            break;
    }
    return Verdict::Refused;
}

/// Used again for each event of a thread, so that it does not allocate.
giop::EventMap& mapOfThread() {
    thread_local giop::EventMap map;
    return map;
}

/// Append the distance to the next part to the index, 7 bits in each octet, the last ones first.
void appendToIndex(std::vector<std::uint8_t>& index, std::size_t distance) {
    std::size_t rest = distance / kUnitOfIndex;
    constexpr std::size_t more = 0x80;
    for (; rest >= more; rest /= more)
        index.push_back(static_cast<std::uint8_t>(rest % more | more));
    index.push_back(static_cast<std::uint8_t>(rest));
}

}  // namespace

EncodedEvent::CodeSets EncodedEvents::defaultCodeSets() {
    constexpr GIOP::Version version{1, 2};
    EncodedEvent::CodeSets sets{nullptr, nullptr};
    if (const CodeSet::NCS_C* native = omni::orbParameters::nativeCharCodeSet)
        sets.narrow = CodeSet::getTCS_C(native->id(), version);
    if (const CodeSet::NCS_W* native = omni::orbParameters::nativeWCharCodeSet)
        sets.wide = CodeSet::getTCS_W(native->id(), version);
    return sets;
}

/// Return the only object with these code sets.
const EncodedEvent::CodeSets* EncodedEvents::kept(const EncodedEvent::CodeSets& sets) {
    static auto* const all = std::make_unique<KeptOnce<EncodedEvent::CodeSets>>().release();
    return all->get(sets);
}

EncodedEvent EncodedEvents::encoded(const CosNotification::StructuredEvent& event,
                                    const StructuredEventPtr& shared) {
    const EncodedEvent::CodeSets sets = defaultCodeSets();
    giop::EventMap& map = mapOfThread();
    if (sets.narrow != nullptr) {
        try {
            cdrMemoryStream memory(kTypicalOctets);
            memory.TCS_C(sets.narrow);
            memory.TCS_W(sets.wide);
            event >>= memory;
            const Octets octets(static_cast<const std::uint8_t*>(memory.bufPtr()),
                                memory.bufSize());
            if (scan(octets, 0, map, true) == Verdict::Fine)
                return assembled(octets, map, map.isPlain ? nullptr : kept(sets));
        } catch (const CORBA::SystemException&) {
            // such as a character that the code set does not have: each consumer's push decides
        } catch (const omniORB::fatalException&) {
            // such as an any with a nil reference: as above
        }
    }
    EncodedEvent kept;
    kept.whole_ = shared ? shared : std::make_shared<const CosNotification::StructuredEvent>(event);
    return kept;
}

EncodedEvent EncodedEvents::read(cdrStream& stream) {
    giop::EventMap& map = mapOfThread();
    const Octets unread = StreamPlaces::unread(stream);
    // the scan aligns by its own offsets
    const std::size_t at = reinterpret_cast<std::uintptr_t>(unread.data()) % kLargestAlignment;
    const Octets octets(unread.data() - at, unread.size() + at);
    const bool isScanned = stream.unmarshal_byte_swap() == 0 && containsAscii(stream.TCS_C());
    Verdict verdict = isScanned ? scan(octets, at, map, false) : Verdict::Refused;
    if (verdict == Verdict::Fine && map.isPlain) {
        EncodedEvent event = assembled(octets, map, nullptr);
        stream.skipInput(static_cast<CORBA::ULong>(map.end - at));
        return event;
    }
    const CORBA::ULong begin = stream.currentInputPtr();
    std::vector<std::uint8_t> copy;
    if (verdict == Verdict::UnknownType) {
        // the ORB may free its buffer when it reads on
        copy.resize(octets.size());
        std::memcpy(copy.data() + at, unread.data(), unread.size());
    }
    CosNotification::StructuredEvent event;
    event <<= stream;
    const CORBA::ULong count = stream.currentInputPtr() - begin;
    if (verdict == Verdict::UnknownType && scan(copy, at, map, true) == Verdict::Fine &&
        map.isPlain && map.end - at == count)
        return assembled(copy, map, nullptr);
    return encoded(event, nullptr);
}

bool EncodedEvents::canWrite(const EncodedEvent& event, cdrStream& stream) {
    if (event.size_ == 0 || stream.marshal_byte_swap() != 0)
        return false;
    if (event.codeSets_ == nullptr)
        return containsAscii(stream.TCS_C());
    return *event.codeSets_ == EncodedEvent::CodeSets{stream.TCS_C(), stream.TCS_W()};
}

void EncodedEvents::write(const EncodedEvent& event, cdrStream& stream, std::uint32_t offset) {
    static constexpr std::uint8_t padding[kLargestAlignment] = {};
    const auto put = [&stream](const std::uint8_t* octets, std::size_t count) {
        stream.put_octet_array(octets, static_cast<int>(count));
    };
    if (offset == 0 || event.firstEight_ == event.size_) {
        put(event.octets_.get(), event.size_);
        return;
    }
    const std::size_t rest = aligned(event.firstEight_);
    const std::size_t at = offset + event.firstEight_;
    put(event.octets_.get(), event.firstEight_);
    put(padding, aligned(at) - at);
    put(event.octets_.get() + rest, event.size_ - rest);
}

/// Copy the event so that it begins at a multiple of 8, with null octets for padding, and append
/// the index: the distances between the ends of the parts in EventMap, beginning with the header.
EncodedEvent EncodedEvents::assembled(Octets octets, const giop::EventMap& map,
                                      const EncodedEvent::CodeSets* codeSets) {
    const bool hasEight = map.firstEight != giop::EventMap::kNowhere;
    const std::size_t split = hasEight ? map.firstEight : map.end;
    const std::size_t rest = hasEight ? aligned(split) : split;
    const std::size_t newSplit = split - map.begin;
    const std::size_t newRest = hasEight ? aligned(newSplit) : newSplit;
    const auto moved = [&](std::size_t at) {
        return at <= split ? at - map.begin : at - rest + newRest;
    };
    thread_local std::vector<std::uint8_t> index;
    index.clear();
    std::size_t last = moved(map.header);
    for (const std::size_t mark : map.marks)
        appendToIndex(index, moved(mark) - std::exchange(last, moved(mark)));
    const std::size_t size = moved(map.end);
    EncodedEvent event;
    event.octets_ = std::make_unique<std::uint8_t[]>(size + index.size());
    event.size_ = static_cast<std::uint32_t>(size);
    event.indexEnd_ = static_cast<std::uint32_t>(size + index.size());
    event.firstEight_ = static_cast<std::uint32_t>(newSplit);
    event.codeSets_ = codeSets;
    std::memcpy(event.octets_.get(), octets.data() + map.begin, newSplit);
    std::memcpy(event.octets_.get() + newRest, octets.data() + rest, map.end - rest);
    std::memcpy(event.octets_.get() + size, index.data(), index.size());
    for (const giop::Padding& each : map.paddings) {
        if (each.at != split)
            std::memset(event.octets_.get() + moved(each.at), 0, each.octets);
    }
    return event;
}

}  // namespace kelp::orb
