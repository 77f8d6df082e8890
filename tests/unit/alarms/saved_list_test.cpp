#include <gtest/gtest.h>
#include <kelp/alarms/change.h>
#include <kelp/alarms/saved_list.h>

#include <random>

#include "unit/alarms/some_alarms.h"

using namespace kelp::alarms;
using kelp::test::fullAlarm;
using kelp::test::History;
using kelp::test::someAlarm;
using kelp::test::someClear;

namespace {

using Chunks = std::vector<std::string>;

Chunks chunksOf(AlarmList& list) {
    ListWriter writer(list.snapshot());
    Chunks chunks;
    while (auto chunk = writer.next())
        chunks.push_back(std::move(*chunk));
    EXPECT_FALSE(writer.next());
    return chunks;
}

ListState read(const Chunks& chunks) {
    ListReader reader;
    for (const std::string& chunk : chunks)
        reader.add(chunk);
    return reader.finish();
}

/// Active, acknowledged, flapping and past alarms, and recent clears.
History eventfulHistory() {
    History history;
    for (int i = 0; i < 7; ++i) {
        history.report(someAlarm());
        history.report(someClear());
    }
    Alarm full = fullAlarm();
    history.report(full);
    full.isClearable = true;
    history.report(full);
    history.acknowledge(full);
    history.report(someAlarm(Severity::Minor, "2"));
    history.report(someClear("2"));
    return history;
}

TEST(SavedList, ReadingGivesTheStateThatWasWritten) {
    History history = eventfulHistory();
    ASSERT_TRUE(history.entry(someAlarm())->unsent);
    EXPECT_EQ(read(chunksOf(history.list)), history.list.state());
}

TEST(SavedList, EmptyListSurvives) {
    AlarmList list;
    EXPECT_EQ(read(chunksOf(list)), list.state());
}

TEST(SavedList, FlappingAlarmSettlesAfterwards) {
    History history = eventfulHistory();
    AlarmList list({}, read(chunksOf(history.list)));
    history.wait(60);
    ASSERT_EQ(list.quietFlapping(history.now).size(), 1u);
    const Effect effect =
        list.apply(history.position + 1, {history.now, Settle{identityOf(someAlarm())}});
    EXPECT_EQ(effect.outcome, Outcome::Cleared);
}

TEST(SavedList, LargeListIsWrittenInSmallChunks) {
    History history;
    for (int i = 0; i < 5000; ++i)
        history.report(someAlarm(Severity::Major, std::to_string(i)));
    const Chunks chunks = chunksOf(history.list);
    EXPECT_GT(chunks.size(), 8u);
    for (const std::string& chunk : chunks)
        EXPECT_LT(chunk.size(), 300u << 10U);
    EXPECT_EQ(read(chunks), history.list.state());
}

TEST(SavedList, MissingRepeatedAndExchangedChunksAreRefused) {
    History history = eventfulHistory();
    const Chunks chunks = chunksOf(history.list);
    ASSERT_EQ(chunks.size(), 5u);
    for (std::size_t i = 0; i < chunks.size(); ++i) {
        Chunks fewer = chunks;
        fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(i));
        EXPECT_THROW(read(fewer), DamagedRecord) << i;
        Chunks more = chunks;
        more.insert(more.begin() + static_cast<std::ptrdiff_t>(i), chunks[i]);
        EXPECT_THROW(read(more), DamagedRecord) << i;
    }
    EXPECT_THROW(read({}), DamagedRecord);
    Chunks late = chunks;
    std::swap(late[3], late[4]);
    EXPECT_THROW(read(late), DamagedRecord);
}

TEST(SavedList, DamagedChunkNeverCrashes) {
    History history = eventfulHistory();
    const Chunks chunks = chunksOf(history.list);
    std::mt19937 random(4712);
    for (int i = 0; i < 500; ++i) {
        Chunks damaged = chunks;
        std::string& chunk = damaged[random() % damaged.size()];
        if (random() % 2 == 0)
            chunk.resize(random() % chunk.size());
        else
            chunk[random() % chunk.size()] = static_cast<char>(random());
        try {
            read(damaged);
        } catch (const DamagedRecord&) {
        }
    }
}

TEST(SavedList, OtherVersionIsRefused) {
    AlarmList list;
    Chunks chunks = chunksOf(list);
    Json head = Json::from_cbor(chunks[0]);
    head["v"] = 2;
    chunks[0].clear();
    Json::to_cbor(head, chunks[0]);
    EXPECT_THROW(read(chunks), DamagedRecord);
}

}  // namespace
