#include <gmock/gmock.h>

#include <cstdlib>
#include <random>

#include "decoder_samples.h"

namespace {

using namespace kelp::test;
using kelp::traps::Decoder;
using kelp::traps::Verdict;

/// Feeds the decoder what a hostile or faulty sender may send. The seed is random, and printed if a
/// test fails. KELP_SEED repeats a run.
class DamagedDatagrams : public DecoderTest {
  protected:
    DamagedDatagrams() {
        const char* const given = std::getenv("KELP_SEED");
        const auto seed = given ? static_cast<unsigned>(std::strtoul(given, nullptr, 10))
                                : std::random_device{}();
        RecordProperty("seed", std::to_string(seed));
        trace_.emplace(__FILE__, __LINE__, "KELP_SEED=" + std::to_string(seed));
        random_.seed(seed);
    }

    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
    }

    std::vector<Octets> samples() {
        const Octets content =
            pdu(kInformPdu, joined({upTimeBinding(), trapOidBinding(), portBinding()}));
        return {linkDown("public"), linkDown("public", kInformPdu), version3("", "", 4, content),
                version3(kOurEngine, "ne17", 7, content),
                version3(kTheirEngine, "ne17", 1, content)};
    }

    /// Decode, and answer what was accepted.
    void feed(const Octets& datagram) {
        const Decoder::Result result = decode(datagram);
        if (result.inform != 0)
            decoder_.answer(result.inform);
        EXPECT_EQ(decoder_.unanswered(), 0u);
        sent_.clear();
    }

    std::mt19937 random_;
    std::optional<testing::ScopedTrace> trace_;
};

TEST_F(DamagedDatagrams, MayEndAnywhere) {
    for (const Octets& sample : samples()) {
        for (std::size_t size = 0; size < sample.size(); ++size)
            EXPECT_NE(verdictOf(Octets(sample.begin(),
                                       sample.begin() + static_cast<std::ptrdiff_t>(size))),
                      Verdict::Accepted);
    }
}

TEST_F(DamagedDatagrams, MayHaveAnyOctetChanged) {
    for (const Octets& sample : samples()) {
        for (std::size_t at = 0; at < sample.size(); ++at) {
            for (const int value : {0, 1, 0x7f, 0x80, 0x81, 0x84, 0xff}) {
                Octets changed = sample;
                changed[at] = static_cast<std::uint8_t>(value);
                feed(changed);
            }
        }
    }
}

TEST_F(DamagedDatagrams, MayBeMixedAtRandom) {
    const std::vector<Octets> all = samples();
    for (int round = 0; round < 20000; ++round) {
        Octets changed = all[below(all.size())];
        for (std::size_t count = 1 + below(8); count > 0; --count) {
            const auto at = changed.begin() + static_cast<std::ptrdiff_t>(below(changed.size()));
            const auto octet = static_cast<std::uint8_t>(below(256));
            switch (below(4)) {
                case 0:
                    changed.insert(at, octet);
                    break;
                case 1:
                    if (changed.size() > 1)
                        changed.erase(at);
                    break;
                default:
                    *at = octet;
            }
        }
        feed(changed);
    }
}

TEST_F(DamagedDatagrams, MayBeRandomOctetsOfAnySize) {
    for (int round = 0; round < 5000; ++round) {
        Octets octets(below(round % 100 == 0 ? 65508 : 300));
        for (std::uint8_t& each : octets)
            each = static_cast<std::uint8_t>(below(256));
        if (!octets.empty() && round % 2 == 0)
            octets[0] = 0x30;
        feed(octets);
    }
}

TEST_F(DamagedDatagrams, LeaveTheDecoderAbleToReadGoodOnes) {
    feed(Octets(65507, 0x30));
    feed(Octets(65507, 0xff));
    EXPECT_EQ(verdictOf(linkDown("public")), Verdict::Accepted);
}

}  // namespace
