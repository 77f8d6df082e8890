// An Any can be copied only while there is an ORB.

#include <optional>

#include "support/orb_fixture.h"

namespace {

class OrbEnvironment final : public testing::Environment {
  public:
    void SetUp() override { orb_.emplace(); }
    void TearDown() override { orb_.reset(); }

  private:
    std::optional<kelp::test::RunningOrb> orb_;
};

const auto* const registered = testing::AddGlobalTestEnvironment(new OrbEnvironment);

}  // namespace
