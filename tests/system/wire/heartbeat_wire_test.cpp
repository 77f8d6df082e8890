// Heartbeats as octets on the wire, read by a network analyser and by a decoder that shares no code
// with the ORB.

#include <cos/CosNotifyChannelAdmin.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/nms/client.h>
#include <kelp/orb/references.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "component/orb/giop_recorder.h"
#include "harness/host.h"

namespace kelp::test {
namespace {

using namespace CosNotifyChannelAdmin;
using testing::ElementsAre;
using testing::MatchesRegex;

constexpr const char* kTime = "'[0-9]{14}\\.[0-9]Z'";
constexpr const char* kName =
    "IDL:mtnm.tmforum.org/globaldefs/NVSList_T:1.0=sequence<IDL:mtnm.tmforum.org/globaldefs/"
    "NameAndStringValue_T:1.0{name:string,value:string}>";

class HeartbeatWire : public testing::Test {
  protected:
    void startHost(int heartbeatType) {
        host_.set("notification", "heartbeat_s", 1)
            .set("agent", "HeartbeatEventType", heartbeatType);
        host_.addUser("demo");
        host_.start();
    }

    /// Return the GIOP message of the next heartbeat.
    std::string heartbeat() {
        nms::NmsSettings settings;
        settings.listen = "127.0.0.1:0";
        nms::NmsClient client(settings);
        const nms::FoundFactory factory = client.factoryByReference(host_.factoryReference());
        const std::unique_ptr<nms::NmsSession> session =
            client.logIn(factory, "demo", Host::kPassword);
        EventChannel_var channel;
        session->reference()->getEventChannel(channel.out());
        const ConsumerAdmin_var admin = channel->default_consumer_admin();
        ProxyID id = 0;
        const ProxySupplier_var made =
            admin->obtain_notification_push_supplier(STRUCTURED_EVENT, id);
        const StructuredProxyPushSupplier_var proxy =
            StructuredProxyPushSupplier::_narrow(made.in());
        const CORBA::Object_var object = orb::toReference(client.orb(), recorder_.corbaloc("1.2"));
        const CosNotifyComm::StructuredPushConsumer_var consumer =
            CosNotifyComm::StructuredPushConsumer::_unchecked_narrow(object.in());
        proxy->connect_structured_push_consumer(consumer.in());
        EXPECT_TRUE(eventually([this] { return !recorder_.lastRequest().empty(); }));
        proxy->disconnect_structured_push_supplier();
        return recorder_.lastRequest();
    }

    /// Return the output of a shell command.
    static std::string outputOf(const std::string& command) {
        std::string text;
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(::popen(command.c_str(), "r"),
                                                                   &::pclose);
        for (int character = 0; pipe && (character = std::fgetc(pipe.get())) != EOF;)
            text += static_cast<char>(character);
        return text;
    }

    /// Convert the message to a capture file. Return these fields as the analyser prints them.
    std::string analysed(const std::string& message, const std::string& fields) {
        const std::filesystem::path dump = host_.scratch("message.txt");
        const std::filesystem::path capture = host_.scratch("message.pcap");
        std::ofstream out(dump);
        for (std::size_t at = 0; at < message.size(); ++at) {
            char text[32];
            if (at % 16 == 0) {
                std::snprintf(text, sizeof text, "%s%06zx", at == 0 ? "" : "\n", at);
                out << text;
            }
            std::snprintf(text, sizeof text, " %02x",
                          static_cast<unsigned>(static_cast<unsigned char>(message[at])));
            out << text;
        }
        out << '\n';
        out.close();
        outputOf(TEXT2PCAP " -q -T 40000,40001 " + dump.string() + " " + capture.string() +
                 " 2>&1");
        return outputOf(TSHARK " -r " + capture.string() + " -d tcp.port==40001,giop -T fields " +
                        fields + " 2>/dev/null");
    }
    /// Return the event as the decoder prints it, line by line.
    std::vector<std::string> decoded(const std::string& hex) {
        const std::filesystem::path file = host_.scratch("event.hex");
        std::ofstream(file) << hex;
        std::istringstream lines(outputOf(PYTHON " " DECODER " < " + file.string() + " 2>&1"));
        std::vector<std::string> all;
        for (std::string line; std::getline(lines, line);)
            all.push_back(line);
        return all;
    }
    /// Return the decoded lines of the next heartbeat's event. The analyser extracts them from the
    /// message.
    std::vector<std::string> event() {
        std::string message = heartbeat();
        const auto size = static_cast<std::uint32_t>(message.size() - 12);
        std::memcpy(message.data() + 8, &size, sizeof size);
        EXPECT_THAT(analysed(message, "-e giop.request_op -e _ws.malformed"),
                    MatchesRegex("push_structured_event\t?\n"));
        std::istringstream arguments(analysed(message, "-e giop.stub_data"));
        std::string hex;
        arguments >> hex;
        return decoded(hex);
    }

    static auto field(const std::string& name, const std::string& type, const std::string& value) {
        return MatchesRegex("field " + quotedForRegex(name) + " " + quotedForRegex(type) + " " +
                            value);
    }
    static std::string quotedForRegex(const std::string& text) {
        std::string quoted;
        for (const char each : text) {
            if (std::strchr(".[]{}()*+?|^$\\", each) != nullptr)
                quoted += '\\';
            quoted += each;
        }
        return quoted;
    }

    Host host_;
    GiopRecorder recorder_;
};

std::string notificationsType(const std::string& name) {
    return "IDL:mtnm.tmforum.org/notifications/" + name + ":1.0";
}

TEST_F(HeartbeatWire, OfTypeZeroHasFourFieldsOfTheirTypes) {
    startHost(0);
    EXPECT_THAT(event(),
                ElementsAre("domain tmf_mtnm", "type NT_HEARTBEAT", "name ",
                            field("notificationId", "string", "' '"),
                            field("objectName", kName, "\\[\\{'EMS','Kelp/EMS'\\}\\]"),
                            field("objectType", notificationsType("ObjectType_T"), "OT_EMS"),
                            field("emsTime", "string", kTime), "remainder null "));
}

TEST_F(HeartbeatWire, InTheFormOfAnAlarmHasNineteenFieldsOfTheirTypes) {
    startHost(1);
    const std::string names =
        "IDL:mtnm.tmforum.org/globaldefs/NamingAttributesList_T:1.0=sequence<"
        "IDL:mtnm.tmforum.org/globaldefs/NamingAttributes_T:1.0=" +
        std::string(kName) + ">";
    EXPECT_THAT(event(),
                ElementsAre("domain tmf_mtnm", "type NT_ALARM", "name ",
                            field("notificationId", "string", "'0'"),
                            field("objectName", kName, "\\[\\{'EMS','Kelp/EMS'\\}\\]"),
                            field("nativeEMSName", "string", "'Kelp/EMS'"),
                            field("nativeProbableCause", "string", "'Heartbeat'"),
                            field("objectType", notificationsType("ObjectType_T"), "OT_EMS"),
                            field("emsTime", "string", kTime), field("neTime", "string", kTime),
                            field("isClearable", "boolean", "0"), field("layerRate", "short", "1"),
                            field("probableCause", "string", "'Heartbeat'"),
                            field("probableCauseQualifier", "string", "'0:0:0'"),
                            field("perceivedSeverity", notificationsType("PerceivedSeverity_T"),
                                  "PS_INDETERMINATE"),
                            field("serviceAffecting", notificationsType("ServiceAffecting_T"),
                                  "SA_NON_SERVICE_AFFECTING"),
                            field("affectedTPList", names, "\\[\\]"),
                            field("additionalText", "string", "''"),
                            field("X.733::EventType", "string", "'environmentalAlarm'"),
                            field("X.733::SpecificProblems", names, "\\[\\]"),
                            field("X.733::ProposedRepairActions", names, "\\[\\]"),
                            field("X.733::AdditionalInfo", names, "\\[\\]"), "remainder null "));
}

}  // namespace
}  // namespace kelp::test
