// A notification service in a separate process: channel_server PORT [TLS_PORT CA CERTIFICATE]
// prints its channel's reference. It offers the channel under the key NotificationService when it
// reads a line from its standard input.

#include <kelp/notification/channel.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/orb.h>
#include <unistd.h>

#include <iostream>
#include <string>
#include <vector>

#include "support/channel_servant.h"

namespace {

int run(const std::vector<std::string>& arguments) {
    kelp::orb::OrbOptions options;
    options.listen = {"127.0.0.1:" + arguments[0]};
    if (arguments.size() == 4) {
        options.tlsListen = {"127.0.0.1:" + arguments[1]};
        options.tlsCaFile = arguments[2];
        options.tlsKeyFile = arguments[3];
    }
    const CORBA::ORB_var orb = kelp::orb::start(options, nullptr);
    const CORBA::Object_var object = orb->resolve_initial_references("RootPOA");
    const PortableServer::POA_var root = PortableServer::POA::_narrow(object.in());
    const PortableServer::POAManager_var manager = root->the_POAManager();
    kelp::orb::letCallersThrough(manager.in());

    const kelp::notification::Channel channel(orb.in(), kelp::notification::ChannelSettings(),
                                              nullptr);
    const CosNotifyChannelAdmin::EventChannel_var reference = channel.reference();
    const CORBA::String_var text = orb->object_to_string(reference.in());
    std::cout << text.in() << std::endl;

    std::string line;
    std::getline(std::cin, line);
    const PortableServer::ServantBase_var servant =
        kelp::test::channelServant(root.in(), reference.in());
    kelp::orb::publishKey(orb.in(), "NotificationService", servant.in(), reference.in());
    std::cout << "offered" << std::endl;
    std::getline(std::cin, line);
    ::_exit(0);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 5)
        return 2;
    try {
        return run({argv + 1, argv + argc});
    } catch (const CORBA::Exception& exception) {
        std::cerr << "channel_server: " << kelp::orb::exceptionText(exception) << std::endl;
        return 1;
    }
}
