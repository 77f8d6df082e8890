#include <gtest/gtest.h>
#include <kelp/orb/references.h>

#include <algorithm>
#include <random>

#include "hand_made_reference.h"

namespace {

using namespace kelp::test;
using kelp::orb::decodeReference;
using kelp::orb::ReferenceContent;

std::vector<std::string> seeds() {
    Iiop full;
    full.components = {alternateAddress("b.example", 7), sslComponent(4843), {1, "code sets"}};
    Iiop big = full;
    big.order = CdrWriter::Order::Big;
    Iiop old;
    old.minor = 0;
    Iiop tlsOnly;
    tlsOnly.port = 0;
    tlsOnly.components = {sslComponent(4843)};
    return {referenceBytes({{0, iiopProfile(full)}}),
            referenceBytes({{0, iiopProfile(big)}, {0, iiopProfile(old)}}, "IDL:U:1.0",
                           CdrWriter::Order::Big),
            referenceBytes(
                {{0, iiopProfile(tlsOnly)}, {1, multipleComponents({alternateAddress("c", 1)})}}),
            referenceBytes({}, "")};
}

/// True if the reference is accepted. Expects that its content keeps the promises of the header.
/// The sanitizers detect reads outside the bytes.
bool acceptedSoundly(const std::string& bytes) {
    ReferenceContent content;
    if (!decodeReference(hexReference(bytes), content)) {
        EXPECT_TRUE(content.endpoints.empty() && content.typeId.empty() &&
                    content.objectKey.empty());
        return false;
    }
    EXPECT_LE(content.objectKey.size(), bytes.size());
    for (const auto& endpoint : content.endpoints) {
        EXPECT_NE(endpoint.port, 0);
        EXPECT_FALSE(endpoint.host.empty());
        EXPECT_LE(endpoint.host.size(), 255U);
        EXPECT_TRUE(std::all_of(endpoint.host.begin(), endpoint.host.end(),
                                [](char c) { return c > ' ' && c < 0x7f; }));
    }
    return true;
}

TEST(ReferenceMutations, EveryByteValueAtEveryPlaceIsReadSoundly) {
    std::size_t accepted = 0;
    std::size_t refused = 0;
    for (const std::string& seed : seeds()) {
        for (std::size_t at = 0; at < seed.size(); ++at) {
            for (int value = 0; value < 256; ++value) {
                std::string bytes = seed;
                bytes[at] = static_cast<char>(value);
                ++(acceptedSoundly(bytes) ? accepted : refused);
            }
        }
    }
    EXPECT_GT(accepted, 1000U);
    EXPECT_GT(refused, 1000U);
}

TEST(ReferenceMutations, BytesRemovedInsertedAndRepeatedAreReadSoundly) {
    std::size_t refused = 0;
    for (const std::string& seed : seeds()) {
        for (std::size_t at = 0; at < seed.size(); ++at) {
            for (std::size_t length = 1; length <= 8 && at + length <= seed.size(); ++length) {
                std::string removed = seed;
                removed.erase(at, length);
                std::string repeated = seed;
                repeated.insert(at, seed, at, length);
                std::string grown = seed;
                grown.insert(at, length, '\xff');
                for (const std::string& bytes : {removed, repeated, grown})
                    refused += acceptedSoundly(bytes) ? 0 : 1;
            }
        }
    }
    EXPECT_GT(refused, 1000U);
}

TEST(ReferenceMutations, LongsReplacedByExtremesAreReadSoundly) {
    std::size_t refused = 0;
    const std::uint32_t extremes[] = {0,          1,          2,          3,
                                      0x7fffffff, 0x80000000, 0xfffffffc, 0xfffffffd,
                                      0xfffffffe, 0xffffffff, 0x10000,    0xffff};
    for (const std::string& seed : seeds()) {
        for (std::size_t at = 0; at + 4 <= seed.size(); ++at) {
            for (const std::uint32_t extreme : extremes) {
                for (const bool little : {true, false}) {
                    std::string bytes = seed;
                    for (std::size_t i = 0; i < 4; ++i)
                        bytes[at + i] =
                            static_cast<char>(extreme >> 8 * (little ? i : 3 - i) & 0xff);
                    refused += acceptedSoundly(bytes) ? 0 : 1;
                }
            }
        }
    }
    EXPECT_GT(refused, 1000U);
}

TEST(ReferenceMutations, SeveralChangesAtOnceAreReadSoundly) {
    std::mt19937 random(814);  // the same sequence in every run
    std::size_t accepted = 0;
    std::size_t refused = 0;
    const std::vector<std::string> originals = seeds();
    for (int round = 0; round < 40000; ++round) {
        std::string bytes = originals[random() % originals.size()];
        for (auto changes = 1 + random() % 6; changes > 0 && !bytes.empty(); --changes) {
            const std::size_t at = random() % bytes.size();
            switch (random() % 4) {
                case 0:
                    bytes[at] = static_cast<char>(random());
                    break;
                case 1:
                    bytes.erase(at, 1 + random() % 4);
                    break;
                case 2:
                    bytes.insert(at, 1 + random() % 4, static_cast<char>(random()));
                    break;
                default:
                    bytes[at] = static_cast<char>(bytes[at] ^ (1 << random() % 8));
                    break;
            }
        }
        ++(acceptedSoundly(bytes) ? accepted : refused);
    }
    EXPECT_GT(accepted, 100U);
    EXPECT_GT(refused, 1000U);
}

}  // namespace
