#include <gtest/gtest.h>
#include <kelp/bundlemgr/exceptions.h>

#include <string>
#include <type_traits>

namespace {

using NS_BUNDLEMGR1::InterfaceNotExistException;
using NS_BUNDLEMGR1::ProcessException;

TEST(ProcessException, IsEmptyWhenNew) {
    const ProcessException exception;
    EXPECT_EQ(exception.code, 0);
    EXPECT_EQ(exception.detail, 0);
    EXPECT_EQ(exception.text1.str() + exception.text2.str() + exception.text3.str() +
                  exception.text4.str(),
              "");
}

TEST(ProcessException, CopyTakesNumbersAndAllFourTexts) {
    ProcessException source;
    source.code = 7;
    source.detail = -1;
    source.text1 << "one";
    source.text2 << "two";
    source.text3 << "three";
    source.text4 << "four";
    ProcessException copy(source);
    EXPECT_EQ(copy.code, 7);
    EXPECT_EQ(copy.detail, -1);
    EXPECT_EQ(copy.text1.str(), "one");
    EXPECT_EQ(copy.text2.str(), "two");
    EXPECT_EQ(copy.text3.str(), "three");
    EXPECT_EQ(copy.text4.str(), "four");
}

TEST(ProcessException, CopyMovesTheReadPositionsOfItsSource) {
    ProcessException source;
    source.text1 << "one";
    ProcessException first(source);
    ProcessException second(source);
    EXPECT_EQ(first.text1.str(), "one");
    EXPECT_EQ(second.text1.str(), "") << "the source has been read to its end";
    EXPECT_EQ(source.text1.str(), "one");
}

TEST(ProcessException, CopyOfEmptyTextsTakesNewOnes) {
    ProcessException source;
    ProcessException copy(source);
    copy.text1 << "written afterwards";
    EXPECT_EQ(copy.text1.str(), "written afterwards");
}

TEST(ProcessException, OnlyAChangeableSourceCanBeCopied) {
    EXPECT_TRUE((std::is_constructible_v<ProcessException, ProcessException&>));
    EXPECT_FALSE((std::is_constructible_v<ProcessException, const ProcessException&>));
}

TEST(ProcessException, HandlersDistinguishThemByType) {
    const auto caughtAs = [](auto thrower) -> std::string {
        try {
            thrower();
        } catch (const InterfaceNotExistException&) {
            return "InterfaceNotExistException";
        } catch (const ProcessException&) {
            return "ProcessException";
        } catch (const std::exception&) {
            return "std::exception";
        }
        return "nothing";
    };
    EXPECT_EQ(caughtAs([] { throw InterfaceNotExistException(); }), "InterfaceNotExistException");
    EXPECT_EQ(caughtAs([] { throw ProcessException(); }), "ProcessException");
    EXPECT_TRUE((std::is_base_of_v<std::exception, ProcessException>));
    EXPECT_TRUE((std::is_base_of_v<ProcessException, InterfaceNotExistException>));
}

}  // namespace
