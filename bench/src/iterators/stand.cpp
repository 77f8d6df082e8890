#include "stand.h"

#include <kelp/orb/exception_text.h>
#include <kelp/orb/references.h>

#include <iostream>
#include <stdexcept>

#include "common/process_usage.h"

namespace kelp::bench {

namespace {

ProductSettings settingsFor(const std::filesystem::path& network) {
    ProductSettings settings;
    settings.inventory = network;
    return settings;
}

ListServer serverOf(CORBA::ORB_ptr orb, const std::string& name, pid_t pid,
                    const std::string& reference) {
    const CORBA::Object_var object = orb::toReference(orb, reference);
    return {name, pid, managedElementManager::ManagedElementMgr_I::_unchecked_narrow(object.in())};
}

/// Read the reference that the floor prints after a word.
std::string heard(Talker& floor, const std::string& word) {
    const std::string line = floor.hear();
    if (!line.starts_with(word + " "))
        throw std::runtime_error("the floor says \"" + line + "\" instead of its reference");
    return line.substr(word.size() + 1);
}

}  // namespace

Stand::Stand(nms::NmsClient& client, const std::filesystem::path& network,
             std::size_t elementsWithPorts)
    : orb_(client.orb()), nms_(1), process_(settingsFor(network)) {
    const Ems ems(client, process_);
    session_ = ems.logIn(nms_.address(0));
    product.name = "product";
    product.pid = process_.pid();
    product.manager = elementManagerOf(session_.in());
    residentBefore_ = residentKib(product.pid);
    forgetResidentPeak(product.pid);
    portLists_ = portListsOf(product);
    startFloor(elementsWithPorts);
}

Stand::~Stand() {
    try {
        session_->endSession();
    } catch (const CORBA::Exception& failure) {
        std::cerr << "log-out: " << orb::exceptionText(failure) << '\n';
    }
}

double Stand::residentPeak() const {
    return residentPeakKib(process_.pid());
}

void Stand::startFloor(std::size_t elementsWithPorts) {
    const CORBA::String_var reference = orb_->object_to_string(product.manager.in());
    Talker& talker = floorProcess_.emplace(
        ITERATOR_FLOOR,
        std::vector<std::string>{reference.in(), std::to_string(elementsWithPorts)});
    const pid_t pid = talker.process().pid();
    floor = serverOf(orb_, "bare servant", pid, heard(talker, "lent"));
    copying = serverOf(orb_, "copying", pid, heard(talker, "copied"));
}

}  // namespace kelp::bench
