#include "nms_peer/element_lists.h"

#include <kelp/orb/references.h>
#include <mtnm/common.h>

#include <algorithm>
#include <limits>
#include <set>
#include <stdexcept>
#include <thread>

namespace kelp::test {

namespace {

using globaldefs::NamingAttributesIterator_I;
using globaldefs::NamingAttributesIterator_I_ptr;
using globaldefs::NamingAttributesIterator_I_var;
using globaldefs::NamingAttributesList_T_var;

constexpr CORBA::ULong kAll = std::numeric_limits<CORBA::ULong>::max();
/// Number of the latest iterators that are called while others are opened.
constexpr std::size_t kLookedAt = 60;

/// Return "open" or "closed". Throws on any other failure.
template <class Call>
std::string outcome(Call call) {
    try {
        call();
        return "open";
    } catch (const CORBA::OBJECT_NOT_EXIST&) {
        return "closed";
    }
}

std::string outcome(NamingAttributesIterator_I_ptr iterator) {
    return outcome([&] { iterator->getLength(); });
}

/// Return the outcome of each of an iterator's operations.
std::string outcomes(NamingAttributesIterator_I_ptr iterator) {
    NamingAttributesList_T_var names;
    return outcome([&] { iterator->next_n(1, names.out()); }) + " " + outcome(iterator) + " " +
           outcome([&] { iterator->destroy(); });
}

struct OpenOnes {
    int count = 0;
    std::size_t oldest = 0;  ///< index; the number of iterators if none is open
};

/// Call the iterators, the newest first, and count the open ones.
OpenOnes openAmong(const std::vector<NamingAttributesIterator_I_var>& iterators) {
    OpenOnes open{0, iterators.size()};
    for (std::size_t i = iterators.size(); i-- > 0;) {
        if (outcome(iterators[i].in()) == "open") {
            ++open.count;
            open.oldest = i;
        }
    }
    return open;
}

std::string nextBatch(NamingAttributesIterator_I_ptr iterator, CORBA::ULong howMany) {
    NamingAttributesList_T_var names;
    const bool isMore = iterator->next_n(howMany, names.out());
    return std::to_string(isMore) + " " + std::to_string(names->length());
}

}  // namespace

void ElementLists::use(emsSession::EmsSession_I_ptr session) {
    common::Common_I_var any;
    session->getManager("ManagedElement", any.out());
    manager_ = managedElementManager::ManagedElementMgr_I::_narrow(any.in());
    if (CORBA::is_nil(manager_.in()))
        throw std::runtime_error("the manager ManagedElement is none");
}

std::string ElementLists::carryOut(CORBA::ORB_ptr orb, std::istream& words) {
    std::string command;
    words >> command;
    const auto number = [&words] {
        CORBA::ULong value = 0;
        words >> value;
        return value;
    };
    if (command == "ask")
        return askOnce(number());
    if (command == "open") {
        const auto threads = static_cast<int>(number());
        const auto each = static_cast<int>(number());
        return openMany(threads, each, number() != 0);
    }
    if (command == "probe")
        return probe();
    if (command == "walk")
        return walk(number());
    if (command == "mixed")
        return mixed();
    if (command == "unmix")
        return unmix();
    if (command == "mix") {
        mix();
        return {};
    }
    if (command == "knows") {
        std::string text;
        words >> text;
        const CORBA::Object_var object = orb::toReference(orb, text);
        const Iterator_var iterator = NamingAttributesIterator_I::_unchecked_narrow(object.in());
        return outcome(iterator.in());
    }
    const Iterator_var iterator = at(number());
    if (command == "next")
        return nextBatch(iterator.in(), number());
    if (command == "length")
        return std::to_string(iterator->getLength());
    if (command == "outcomes")
        return outcomes(iterator.in());
    if (command == "reference")
        return CORBA::String_var(orb->object_to_string(iterator.in())).in();
    if (command != "destroy")
        throw std::runtime_error("unknown command");
    iterator->destroy();
    return {};
}

ElementLists::Iterator_var ElementLists::ask(CORBA::ULong howMany,
                                             std::vector<std::string>& names) {
    NamingAttributesList_T_var first;
    Iterator_var rest;
    manager_->getAllManagedElementNames(howMany, first.out(), rest.out());
    appendValues(first.in(), names);
    return rest;
}

std::string ElementLists::askOnce(CORBA::ULong howMany) {
    std::vector<std::string> first;
    const Iterator_var rest = ask(howMany, first);
    const std::string iterator =
        CORBA::is_nil(rest.in()) ? "-1" : std::to_string(remember(rest.in()));
    return std::to_string(first.size()) + " " + iterator;
}

std::string ElementLists::openMany(int threads, int each, bool isWatched) {
    std::atomic<int> running{threads}, opened{0}, refused{0}, failed{0};
    std::vector<std::thread> openers;
    for (int thread = 0; thread < threads; ++thread)
        openers.emplace_back([&] {
            for (int i = 0; i < each; ++i) {
                try {
                    std::vector<std::string> first;
                    remember(ask(1, first).in());
                    ++opened;
                } catch (const globaldefs::ProcessingFailureException& refusal) {
                    ++(refusal.exceptionType == globaldefs::EXCPT_TOO_MANY_OPEN_ITERATORS ? refused
                                                                                          : failed);
                } catch (const CORBA::Exception&) {
                    ++failed;
                }
            }
            --running;
        });
    // every iterator found open was already open when the last of them was opened, so they were all
    // open at once
    int most = 0;
    while (isWatched && running > 0)
        most = std::max(most, openAmong(latest(kLookedAt)).count);
    for (std::thread& opener : openers)
        opener.join();
    return std::to_string(opened) + " " + std::to_string(refused) + " " + std::to_string(failed) +
           " " + std::to_string(most);
}

std::string ElementLists::probe() {
    const OpenOnes open = openAmong(latest(std::numeric_limits<std::size_t>::max()));
    return std::to_string(open.count) + " " + std::to_string(open.oldest);
}

ElementLists::Walk ElementLists::readAll(CORBA::ULong howMany) {
    Walk walk;
    walk.rest = ask(howMany, walk.names);
    walk.largest = walk.names.size();
    bool isMore = !CORBA::is_nil(walk.rest.in());
    while (isMore) {
        NamingAttributesList_T_var batch;
        isMore = walk.rest->next_n(howMany, batch.out());
        appendValues(batch.in(), walk.names);
        walk.largest = std::max<std::size_t>(walk.largest, batch->length());
    }
    return walk;
}

std::string ElementLists::walk(CORBA::ULong howMany) {
    const Walk walk = readAll(howMany);
    const std::set<std::string> different(walk.names.begin(), walk.names.end());
    return std::to_string(walk.names.size()) + " " + std::to_string(different.size()) + " " +
           std::to_string(walk.largest) + " " +
           (CORBA::is_nil(walk.rest.in()) ? "none" : outcome(walk.rest.in()));
}

void ElementLists::mix() {
    all_ = readAll(kAll).names;
    mixture_ = std::make_unique<IteratorMixture>([this] {
        std::vector<std::string> first;
        const Iterator_var rest = ask(1, first);
        return std::make_shared<IteratorWalk>(rest.in(), first);
    });
}

std::string ElementLists::mixed() {
    if (mixture_ == nullptr)
        throw std::runtime_error("this NMS does not mix");
    return std::to_string(mixture_->served()) + " " + std::to_string(mixture_->closed()) + " " +
           std::to_string(mixture_->strange());
}

std::string ElementLists::unmix() {
    const std::string counts = mixed();
    const int gaps = mixture_->stopAndCountGaps(all_);
    const std::string text = counts + " " + std::to_string(gaps) + " " + mixture_->strangest();
    mixture_.reset();
    return text;
}

std::size_t ElementLists::remember(Iterator_ptr iterator) {
    const std::lock_guard guard(mutex_);
    iterators_.push_back(NamingAttributesIterator_I::_duplicate(iterator));
    return iterators_.size() - 1;
}

ElementLists::Iterator_var ElementLists::at(std::size_t number) {
    const std::lock_guard guard(mutex_);
    return iterators_.at(number);
}

std::vector<ElementLists::Iterator_var> ElementLists::latest(std::size_t most) {
    const std::lock_guard guard(mutex_);
    const std::size_t count = std::min(most, iterators_.size());
    return {iterators_.end() - static_cast<std::ptrdiff_t>(count), iterators_.end()};
}

}  // namespace kelp::test
