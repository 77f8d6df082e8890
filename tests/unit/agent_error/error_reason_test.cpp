#include <gtest/gtest.h>
#include <kelp/bundlemgr/service_object.h>

#include <atomic>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "error/error_translator.h"

namespace NS_KELPCORBA {
namespace {

/// A catalogue that exists as long as the process, like the host's.
class Catalogue : public NS_BUNDLEMGR1::ErrorCodeBufIf {
  public:
    bool GetErrorText(unsigned long code, std::string& text) const override {
        ++asked;
        if (fails)
            throw std::runtime_error("catalogue out of order");
        const auto found = texts.find(code);
        if (found == texts.end()) {
            text = "what was left over";
            return false;
        }
        text = found->second;
        return true;
    }

    std::map<unsigned long, std::string> texts;
    mutable std::atomic<int> asked{0};
    bool fails = false;
};

Catalogue& registerCatalogue() {
    auto* catalogue = new Catalogue;
    NS_BUNDLEMGR1::SetIFBuf("ErrorCodeBufIf", catalogue);
    return *catalogue;
}

std::string reasonOf(unsigned long code) {
    globaldefs::ProcessingFailureException exception;
    exception.errorReason = "the reason before";
    KelpCorbaErrTranslator(code, exception);
    return std::string(exception.errorReason.in());
}

TEST(ErrorReason, WithoutACatalogueTheErrorIsCalledUnknown) {
    EXPECT_EQ(reasonOf(1092092090), "(1092092090)\tUnknown\terror!");
}

TEST(ErrorReason, WithoutACatalogueACodeOf14DigitsStillFits) {
    EXPECT_EQ(reasonOf(99999999999999), "(99999999999999)\tUnknown\terror!");
}

TEST(ErrorReason, WithoutACatalogueACodeOf15DigitsIsLeftOut) {
    EXPECT_EQ(reasonOf(100000000000000), "()Unknown\terror!");
    EXPECT_EQ(reasonOf(18446744073709551615UL), "()Unknown\terror!");
}

TEST(ErrorReason, CatalogueTextFollowsTheCodeInBracketsAndABlank) {
    registerCatalogue().texts[1092092090] = "Internal failure of the agent";
    EXPECT_EQ(reasonOf(1092092090), "(1092092090) Internal failure of the agent");
}

TEST(ErrorReason, CodeWithoutATextGivesTheBracketedCodeAndTheBlankAlone) {
    registerCatalogue();
    EXPECT_EQ(reasonOf(1092092090), "(1092092090) ");
    EXPECT_EQ(reasonOf(100000000000000), "(100000000000000) ");
}

TEST(ErrorReason, CatalogueIsAskedEachTime) {
    Catalogue& catalogue = registerCatalogue();
    catalogue.texts[kNullInput] = "one";
    EXPECT_EQ(reasonOf(kNullInput), "(1092091999) one");
    catalogue.texts[kNullInput] = "two";
    EXPECT_EQ(reasonOf(kNullInput), "(1092091999) two");
    EXPECT_EQ(catalogue.asked, 2);
}

TEST(ErrorReason, CatalogueRegisteredAfterAFailureIsFoundByTheNextTranslation) {
    EXPECT_EQ(reasonOf(kNullInput), "(1092091999)\tUnknown\terror!");
    registerCatalogue().texts[kNullInput] = "A null input";
    EXPECT_EQ(reasonOf(kNullInput), "(1092091999) A null input");
}

TEST(ErrorReason, CatalogueOnceFoundIsKept) {
    registerCatalogue().texts[kNullInput] = "first";
    EXPECT_EQ(reasonOf(kNullInput), "(1092091999) first");
    registerCatalogue().texts[kNullInput] = "second";
    EXPECT_EQ(reasonOf(kNullInput), "(1092091999) first");
}

TEST(ErrorReason, AnotherInterfaceUnderTheCataloguesNameCountsAsNone) {
    NS_BUNDLEMGR1::NULLServiceInterface other;
    NS_BUNDLEMGR1::SetIFBuf("ErrorCodeBufIf", &other);
    EXPECT_EQ(reasonOf(kNullInput), "(1092091999)\tUnknown\terror!");
    NS_BUNDLEMGR1::RemoveIFBuf(&other);
}

TEST(ErrorReason, TextOfACatalogueIsNoFormat) {
    registerCatalogue().texts[kNullInput] = "100% of %s %n";
    EXPECT_EQ(reasonOf(kNullInput), "(1092091999) 100% of %s %n");
}

TEST(ErrorInfo, ReportsWhetherThereIsACatalogue) {
    std::string text = "untouched";
    EXPECT_EQ(GetInfo(7, text), -1);
    EXPECT_EQ(text, "untouched");
    registerCatalogue();
    EXPECT_EQ(GetInfo(7, text), 0);
    EXPECT_EQ(text, "(7) ");
}

TEST(ErrorInfo, OtherFailuresOfTheCataloguePassOn) {
    registerCatalogue().fails = true;
    std::string text;
    EXPECT_THROW(GetInfo(7, text), std::runtime_error);
}

TEST(ErrorTranslator, IsOneObjectUntilItIsDestroyed) {
    KelpErrTranslator* translator = KelpErrTranslator::Instance();
    ASSERT_NE(translator, nullptr);
    EXPECT_EQ(KelpErrTranslator::Instance(), translator);
    EXPECT_TRUE(translator->Init());
    KelpErrTranslator::Destroy();
    EXPECT_NE(KelpErrTranslator::Instance(), nullptr);
}

TEST(ErrorTranslator, DestroyingWithoutATranslatorDoesNothing) {
    KelpErrTranslator::Destroy();
    KelpErrTranslator::Destroy();
}

TEST(ErrorTranslator, TranslationWorksAfterTheTranslatorWasDestroyed) {
    registerCatalogue().texts[kNullInput] = "A null input";
    KelpErrTranslator::Instance();
    KelpErrTranslator::Destroy();
    EXPECT_EQ(reasonOf(kNullInput), "(1092091999) A null input");
}

TEST(ErrorTranslator, FirstTranslationsOfManyThreadsAgree) {
    registerCatalogue().texts[kNullInput] = "A null input";
    std::atomic<int> right{0};
    std::vector<std::jthread> threads;
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([&right] {
            for (int j = 0; j < 100; ++j)
                right += reasonOf(kNullInput) == "(1092091999) A null input" ? 1 : 0;
        });
    }
    threads.clear();
    EXPECT_EQ(right, 1600);
}

}  // namespace
}  // namespace NS_KELPCORBA
