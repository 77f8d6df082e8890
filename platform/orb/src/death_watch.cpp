#include <kelp/orb/references.h>

#include <algorithm>

#include "connection_refused.h"
#include "port_state.h"

namespace kelp::orb {

namespace {

/// A check that went unanswered says little; that many running count as dead.
constexpr unsigned unansweredMax = 3;
/// A broken connection may be one left over from a peer that is gone: each attempt uses one of them up.
constexpr int attempts = 5;

enum class Answer { Alive, Dead, None, Broken };

Answer ask(CORBA::Object_ptr reference) {
    try {
        return reference->_non_existent() ? Answer::Dead : Answer::Alive;
    } catch (const CORBA::OBJECT_NOT_EXIST&) {
        return Answer::Dead;
    } catch (const CORBA::TRANSIENT& ex) {
        return isConnectionRefused(ex) ? Answer::Dead : Answer::None;
    } catch (const CORBA::TIMEOUT&) {
        return Answer::None;
    } catch (const CORBA::COMM_FAILURE&) {
        return Answer::Broken;
    } catch (const CORBA::Exception&) {
        // refused by somebody who is there
        return Answer::Alive;
    }
}

bool shareEndpoint(const ReferenceContent& left, const ReferenceContent& right) {
    return std::any_of(left.endpoints.begin(), left.endpoints.end(), [&right](const Endpoint& each) {
        return std::any_of(right.endpoints.begin(), right.endpoints.end(), [&each](const Endpoint& other) {
            return each.port == other.port && each.tls == other.tls && each.host == other.host;
        });
    });
}

/// Two texts of one reference may differ, in padding or in type: object key and an address decide.
bool isOwn(CORBA::Object_ptr reference, CORBA::Object_ptr own) {
    if (CORBA::is_nil(own))
        return false;
    try {
        if (reference->_is_equivalent(own))
            return true;
    } catch (const CORBA::Exception&) {
        return false;
    }
    const CORBA::ORB_var orb = PortState::instance().orb();
    ReferenceContent one;
    ReferenceContent other;
    return describe(orb.in(), reference, one) && describe(orb.in(), own, other) && !one.objectKey.empty() &&
           one.objectKey == other.objectKey && shareEndpoint(one, other);
}

}  // namespace

bool DeathWatch::isDead(CORBA::Object_ptr reference, CORBA::Object_ptr own) {
    if (CORBA::is_nil(reference)) {
        unanswered_ = 0;
        return true;
    }
    Answer answer = Answer::Alive;
    if (!isOwn(reference, own)) {
        answer = ask(reference);
        for (int i = 1; answer == Answer::Broken && i < attempts; ++i)
            answer = ask(reference);
    }
    if (answer == Answer::None || answer == Answer::Broken) {
        unanswered_ = std::min(unanswered_ + 1, unansweredMax);
        return unanswered_ == unansweredMax;
    }
    unanswered_ = 0;
    return answer == Answer::Dead;
}

}  // namespace kelp::orb
