// NMS of a test in a separate process: nms_peer FACTORY PORT... reads commands from standard input,
// one a line, and answers each with one line.

#include <kelp/orb/exception_text.h>
#include <kelp/orb/orb.h>
#include <kelp/orb/timeouts.h>
#include <unistd.h>

#include <iostream>

#include "nms_peer/commands.h"

namespace {

/// Longer than the host's time-outs can add up to, so a call that waits counts as slow, not as
/// failed.
constexpr std::chrono::seconds kCallLimit{30};

int run(int argc, char** argv) {
    kelp::orb::OrbOptions options;
    for (int i = 2; i < argc; ++i)
        options.listen.push_back(std::string("127.0.0.1:") + argv[i]);
    const CORBA::ORB_var orb = kelp::orb::start(options, nullptr);
    kelp::orb::setProcessTimeout(kCallLimit);
    const CORBA::Object_var object = orb->resolve_initial_references("RootPOA");
    const PortableServer::POA_var root = PortableServer::POA::_narrow(object.in());
    const PortableServer::POAManager_var manager = root->the_POAManager();
    kelp::orb::letCallersThrough(manager.in());

    kelp::test::Commands commands(orb.in(), root.in(), argv[1], options.listen.size());
    std::cout << "ready" << std::endl;
    for (std::string line; std::getline(std::cin, line);)
        std::cout << commands.answer(line) << std::endl;
    ::_exit(0);  // exit without the ORB's shutdown, because calls that are held would block it
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return 2;
    try {
        return run(argc, argv);
    } catch (const CORBA::Exception& exception) {
        std::cerr << "nms_peer: " << kelp::orb::exceptionText(exception) << std::endl;
        return 1;
    }
}
