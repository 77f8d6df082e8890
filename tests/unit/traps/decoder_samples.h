#pragma once

#include <gtest/gtest.h>
#include <kelp/traps/decoder.h>

#include <string>
#include <utility>
#include <vector>

#include "datagrams.h"

namespace kelp::test {

inline const traps::EngineId kOurEngine("\x80\x00\x1f\x88\x05ours", 9);
inline const traps::EngineId kTheirEngine("\x80\x00\x1f\x88\x05theirs", 11);

/// A decoder with the community "public", and the user "ne17" whose messages must be encrypted.
class DecoderTest : public testing::Test {
  protected:
    DecoderTest()
        : decoder_({kOurEngine, 3}, communities(), users(),
                   [this](const traps::Decoder::Return& to, std::span<const std::uint8_t> octets) {
                       sent_.emplace_back(to, Octets(octets.begin(), octets.end()));
                   }) {}

    static std::vector<traps::Community> communities() {
        std::vector<traps::Community> all;
        all.push_back({util::Secret("public"), true, {}});
        return all;
    }
    static std::vector<traps::User> users() {
        std::vector<traps::User> all;
        all.push_back({"ne17",
                       traps::Authentication::Sha256,
                       util::Secret("authentication"),
                       true,
                       util::Secret("privacy password"),
                       {kTheirEngine}});
        return all;
    }

    traps::Decoder::Result decode(const Octets& datagram) {
        return decoder_.decode(datagram, from_, "somebody");
    }
    traps::Verdict verdictOf(const Octets& datagram) { return decode(datagram).verdict; }

    const util::PeerAddress from_ = util::parseHostAddress("192.0.2.17");
    std::vector<std::pair<std::string, Octets>> sent_;
    traps::Decoder decoder_;
};

}  // namespace kelp::test
