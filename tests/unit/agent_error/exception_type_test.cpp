#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "error/error_translator.h"

namespace NS_KELPCORBA {
namespace {

globaldefs::ExceptionType_T typeOf(unsigned long code) {
    globaldefs::ProcessingFailureException exception;
    // a value that the agent never produces
    exception.exceptionType = globaldefs::EXCPT_USERLABEL_IN_USE;
    KelpCorbaErrTranslator(code, exception);
    return exception.exceptionType;
}

struct Range {
    unsigned long first;
    unsigned long last;
    globaldefs::ExceptionType_T type;
};

void PrintTo(const Range& range, std::ostream* out) {
    *out << range.first << " to " << range.last;
}

/// The ranges in decimal, in ascending order.
const Range kRanges[] = {
    {76218362, 76218367, globaldefs::EXCPT_ACCESS_DENIED},
    {76545955, 76546047, globaldefs::EXCPT_ACCESS_DENIED},
    {1090519040, 1090519043, globaldefs::EXCPT_ACCESS_DENIED},
    {1092091954, 1092091986, globaldefs::EXCPT_NOT_IMPLEMENTED},
    {1092091987, 1092092089, globaldefs::EXCPT_INVALID_INPUT},
    {1092092090, 1092092102, globaldefs::EXCPT_INTERNAL_ERROR},
    {1092092103, 1092092105, globaldefs::EXCPT_OBJECT_IN_USE},
    {1092092106, 1092092106, globaldefs::EXCPT_TP_INVALID_ENDPOINT},
    {1092092107, 1092092136, globaldefs::EXCPT_ENTITY_NOT_FOUND},
    {1092092137, 1092092137, globaldefs::EXCPT_TIMESLOT_IN_USE},
    {1092092138, 1092092138, globaldefs::EXCPT_PROTECTION_EFFORT_NOT_MET},
    {1092092139, 1092092140, globaldefs::EXCPT_NOT_IN_VALID_STATE},
    {1092092141, 1092092155, globaldefs::EXCPT_UNABLE_TO_COMPLY},
    {1092092156, 1092092156, globaldefs::EXCPT_NE_COMM_LOSS},
    {1092092157, 1092092158, globaldefs::EXCPT_CAPACITY_EXCEEDED},
    {1092092159, 1092092161, globaldefs::EXCPT_ACCESS_DENIED},
    {1092092162, 1092092162, globaldefs::EXCPT_TOO_MANY_OPEN_ITERATORS},
    {1092092163, 1092092166, globaldefs::EXCPT_UNSUPPORTED_ROUTING_CONSTRAINTS},
};

class ExceptionTypeOfRange : public testing::TestWithParam<Range> {};

TEST_P(ExceptionTypeOfRange, HoldsFromTheFirstCodeToTheLast) {
    const auto& [first, last, type] = GetParam();
    for (unsigned long code = first; code <= last; ++code)
        EXPECT_EQ(typeOf(code), type) << code;
}

INSTANTIATE_TEST_SUITE_P(Codes, ExceptionTypeOfRange, testing::ValuesIn(kRanges),
                         [](const auto& test) {
                             return "From" + std::to_string(test.param.first);
                         });

TEST(ExceptionType, CodesBetweenTheRangesAreInternalErrors) {
    for (const unsigned long code :
         {1UL, 76218361UL, 76218368UL, 76545954UL, 76546048UL, 1090519039UL, 1090519044UL,
          1092091953UL, 1092092167UL, 0xFFFFFFFFUL, 100000000000000UL})
        EXPECT_EQ(typeOf(code), globaldefs::EXCPT_INTERNAL_ERROR) << code;
}

TEST(ExceptionType, CodeZeroLeavesTheExceptionUnchanged) {
    globaldefs::ProcessingFailureException exception;
    exception.exceptionType = globaldefs::EXCPT_CAPACITY_EXCEEDED;
    exception.errorReason = "as it was";
    KelpCorbaErrTranslator(0, exception);
    ConstructException(0, exception);
    KelpErrTranslator::Instance()->Translate(0, exception);
    EXPECT_EQ(exception.exceptionType, globaldefs::EXCPT_CAPACITY_EXCEEDED);
    EXPECT_STREQ(exception.errorReason.in(), "as it was");
}

TEST(ExceptionType, CodeZeroThrowsNothing) {
    EXPECT_NO_THROW(ThrowException(0));
}

TEST(ExceptionType, ThrownExceptionCarriesTypeAndReason) {
    try {
        ThrowException(kUnknownManager);
        FAIL() << "nothing thrown";
    } catch (const globaldefs::ProcessingFailureException& exception) {
        EXPECT_EQ(exception.exceptionType, globaldefs::EXCPT_NOT_IMPLEMENTED);
        EXPECT_STREQ(exception.errorReason.in(), "(1092091961)\tUnknown\terror!");
    }
}

TEST(ExceptionType, EveryFormOfTheTranslationGivesTheSame) {
    globaldefs::ProcessingFailureException plain, constructed, member;
    KelpCorbaErrTranslator(kNullInput, plain);
    ConstructException(kNullInput, constructed);
    KelpErrTranslator::Instance()->Translate(kNullInput, member);
    for (const auto* each : {&plain, &constructed, &member}) {
        EXPECT_EQ(each->exceptionType, globaldefs::EXCPT_INVALID_INPUT);
        EXPECT_STREQ(each->errorReason.in(), "(1092091999)\tUnknown\terror!");
    }
}

}  // namespace
}  // namespace NS_KELPCORBA
