#include <gmock/gmock.h>
#include <kelp/traps/engine_id.h>

#include "support/temporary_directory.h"

namespace {

using kelp::test::TemporaryDirectory;
using kelp::traps::Engine;
using kelp::traps::engineIdText;
using kelp::traps::parseEngineId;
using kelp::traps::startEngine;
using testing::HasSubstr;
using testing::ThrowsMessage;

TEST(EngineId, IsReadFromHexadecimalDigits) {
    EXPECT_EQ(parseEngineId("8000000001"), std::string("\x80\0\0\0\x01", 5));
    EXPECT_EQ(parseEngineId("0x80000000AB"), parseEngineId("80000000ab"));
    EXPECT_EQ(engineIdText(*parseEngineId("80000000AB")), "80000000ab");
    for (const std::string& text :
         {std::string(), std::string("80000001"), std::string("800000000"),
          std::string("80000000zz"), std::string(66, '1')})
        EXPECT_FALSE(parseEngineId(text)) << text;
}

TEST(StartEngine, KeepsTheIdAndCountsTheStarts) {
    const TemporaryDirectory folder;
    const Engine first = startEngine(folder / "engine");
    const Engine second = startEngine(folder / "engine");
    EXPECT_EQ(first.boots, 1u);
    EXPECT_EQ(second.boots, 2u);
    EXPECT_EQ(first.id, second.id);
    EXPECT_EQ(first.id.size(), 17u);
}

TEST(StartEngine, MakesADifferentIdForEachFile) {
    const TemporaryDirectory folder;
    EXPECT_NE(startEngine(folder / "a").id, startEngine(folder / "b").id);
}

TEST(StartEngine, RefusesADamagedFile) {
    const TemporaryDirectory folder;
    for (const char* const text :
         {"", "engine 8000000001\n", "engine 8000000001\nboots 3", "engine 8000000001\nboots -3\n",
          "engine 80\nboots 3\n", "engine 8000000001\nboots 3\nmore\n"}) {
        std::filesystem::permissions(
            folder.write("engine", text),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
        EXPECT_THAT([&] { startEngine(folder / "engine"); },
                    ThrowsMessage<std::runtime_error>(HasSubstr("is damaged")))
            << text;
    }
}

}  // namespace
