#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>

#include "unit/kelpctl/kelpctl_fixture.h"
#include "unit/orb/hand_made_reference.h"

namespace {

using kelp::test::ToolRun;
using testing::HasSubstr;

/// The real program, without a host.
class KelpctlIor : public kelp::test::KelpctlTest {
  protected:
    const std::string reference_ = kelp::test::ior(
        {.key = std::string("\0k%", 3), .components = {kelp::test::sslComponent(4801)}});
};

TEST_F(KelpctlIor, ShowsWhatAPeerDials) {
    const ToolRun run = tool("ior " + reference_);
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_THAT(run.output, HasSubstr("type       IDL:T:1.0\n"));
    EXPECT_THAT(run.output, HasSubstr("IIOP       1.2\n"));
    EXPECT_THAT(run.output, HasSubstr("address    192.0.2.7:4800\n"));
    EXPECT_THAT(run.output, HasSubstr("address    192.0.2.7:4801 (TLS)\n"));
    EXPECT_THAT(run.output, HasSubstr("key        %00k%25\n"));
}

TEST_F(KelpctlIor, ReadsAFileByNameAndByUrl) {
    const std::filesystem::path file = folder.write("ems.ior", reference_ + "\n");
    const ToolRun byName = tool("ior ems.ior");
    EXPECT_EQ(byName.status, 0) << byName;
    EXPECT_THAT(byName.output, HasSubstr("192.0.2.7:4800\n"));
    EXPECT_EQ(tool("ior file://" + file.string()).output, byName.output);
}

TEST_F(KelpctlIor, WritesJson) {
    const ToolRun run = tool("ior --json 'corbaname:iiop:1.2@a:7#x'");
    EXPECT_EQ(run.status, 0) << run;
    const nlohmann::json answer = nlohmann::json::parse(run.output, nullptr, false);
    EXPECT_EQ(answer.value("form", ""), "corbaname") << run;
    EXPECT_EQ(answer.value("iiopVersion", ""), "1.2") << run;
    EXPECT_EQ(answer["addresses"].dump(), R"([{"host":"a","port":7,"tls":false}])") << run;
    EXPECT_EQ(answer.value("name", ""), "x") << run;
}

TEST_F(KelpctlIor, SaysThatANilReferenceHasNoAddress) {
    const ToolRun run = tool("ior " + kelp::test::hexReference(kelp::test::referenceBytes({}, "")));
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_THAT(run.output, HasSubstr("address    none: no peer can be dialled\n"));
}

TEST_F(KelpctlIor, RefusesWhatIsNoReference) {
    folder.write("text", "hello\n");
    folder.write("nested", "file:///etc/hostname\n");
    folder.write("large", "IOR:" + std::string(300 * 1024, '0'));
    EXPECT_TRUE(tool("ior " + reference_.substr(0, reference_.size() - 2))
                    .failedWith(1, "the IOR is malformed"));
    EXPECT_TRUE(tool("ior corbaloc::a:0/k").failedWith(1, "a port must be"));
    EXPECT_TRUE(tool("ior missing").failedWith(1, "neither a reference nor a file"));
    EXPECT_TRUE(tool("ior .").failedWith(1, "neither a reference nor a file"));
    EXPECT_TRUE(tool("ior text").failedWith(1, "contains no reference"));
    EXPECT_TRUE(tool("ior nested").failedWith(1, "contains no reference"));
    EXPECT_TRUE(tool("ior large").failedWith(1, "more than 256 KiB"));
    EXPECT_TRUE(tool("ior /dev/zero").failedWith(1, "more than 256 KiB"));
}

}  // namespace
