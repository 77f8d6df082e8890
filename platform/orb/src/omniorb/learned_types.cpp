#include "omniorb/learned_types.h"

namespace kelp::orb {

LearnedTypes& LearnedTypes::instance() {
    // never destroyed: threads of the ORB may outlive the static objects
    static auto* const only = std::make_unique<LearnedTypes>().release();
    return *only;
}

std::shared_ptr<const giop::KnownTypes> LearnedTypes::current() const {
    const util::MutexLock lock(mutex_);
    return types_;
}

bool LearnedTypes::learn(giop::KnownTypes::Octets typeCode) {
    const util::MutexLock lock(mutex_);
    const auto more = std::make_shared<giop::KnownTypes>(*types_);
    if (!more->learn(typeCode))
        return false;
    types_ = more;
    return true;
}

}  // namespace kelp::orb
