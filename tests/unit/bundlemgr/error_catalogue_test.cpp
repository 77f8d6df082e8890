#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/bundlemgr/error_catalogue.h>

#include <string>
#include <vector>

#include "support/temporary_directory.h"

namespace {

using NS_BUNDLEMGR1::ConfigProblem;
using NS_BUNDLEMGR1::ErrorCatalogue;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ErrorCatalogueTest : public testing::Test {
  protected:
    std::vector<std::string> load(const std::string& toml) {
        std::vector<std::string> texts;
        for (const ConfigProblem& problem : catalogue.load(directory.write("errors.toml", toml))) {
            EXPECT_EQ(problem.file, (directory.path() / "errors.toml").string());
            texts.push_back(std::to_string(problem.line) + ": " + problem.key + ": " +
                            problem.what);
        }
        return texts;
    }

    const kelp::test::TemporaryDirectory directory;
    ErrorCatalogue catalogue;
};

TEST_F(ErrorCatalogueTest, TextsAreFoundByCode) {
    EXPECT_THAT(load("[errors]\n\"0x411800BA\" = \"Failed inside.\"\n76218362 = \"Refused.\"\n"),
                IsEmpty());
    EXPECT_EQ(catalogue.size(), 2u);
    std::string text;
    EXPECT_TRUE(catalogue.GetErrorText(1092092090, text));
    EXPECT_EQ(text, "Failed inside.");
    EXPECT_TRUE(catalogue.GetErrorText(0x048AFFFA, text));
    EXPECT_EQ(text, "Refused.");
}

TEST_F(ErrorCatalogueTest, UnknownCodeIsFalseAndLeavesTheText) {
    EXPECT_THAT(load("[errors]\n\"0x411800BA\" = \"Failed inside.\"\n"), IsEmpty());
    std::string text = "before";
    EXPECT_FALSE(catalogue.GetErrorText(0x411800BB, text));
    EXPECT_FALSE(catalogue.GetErrorText(0, text));
    EXPECT_FALSE(catalogue.GetErrorText(0xFFFFFFFFFFFFFFFFul, text));
    EXPECT_EQ(text, "before");
}

TEST_F(ErrorCatalogueTest, ProblemsNameLineAndKeyAndLeaveTheCatalogueEmpty) {
    EXPECT_THAT(load("[errors]\n\"0x411800BA\" = \"Failed inside.\"\n"), IsEmpty());
    EXPECT_THAT(load(R"([errors]
"0x411800BA" = "Failed inside."
"411800BA" = "no decimal digits"
"0x0" = "success"
"0x1411800BA" = "too long"
"1092092090" = "again"
"0x41180053" = 7
"0x4118005F" = ""
[other]
)"),
                ElementsAre("3: errors.411800BA: is not an error code: write it as \"0x411800BA\"",
                            HasSubstr("4: errors.0x0: is not an error code"),
                            HasSubstr("5: errors.0x1411800BA"),
                            HasSubstr("6: errors.1092092090: is already there"),
                            "7: errors.0x41180053: must be a text that is not empty",
                            "8: errors.0x4118005F: must be a text that is not empty",
                            "9: other: is unknown: the file has one table, [errors]"));
    EXPECT_EQ(catalogue.size(), 0u);
}

TEST_F(ErrorCatalogueTest, FileWithoutTheTableIsAProblem) {
    EXPECT_THAT(load(""), ElementsAre(HasSubstr("errors: is missing")));
    EXPECT_THAT(load("errors = 7\n"), testing::SizeIs(2));
}

TEST_F(ErrorCatalogueTest, SyntaxErrorAndMissingFileAreProblems) {
    EXPECT_THAT(load("[errors]\n\"0x411800BA\" = \n"),
                ElementsAre(HasSubstr("2: : is not valid TOML: ")));
    const std::vector<ConfigProblem> problems = catalogue.load(directory.path() / "missing.toml");
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_THAT(problems[0].what, HasSubstr("cannot be read: No such file or directory"));
}

TEST_F(ErrorCatalogueTest, IsAnInterfaceForTheRegistry) {
    EXPECT_STREQ(catalogue.GetInterfaceName(), "ErrorCodeBufIf");
    EXPECT_EQ(catalogue.GetInterfaceVersion(), 1);
}

}  // namespace
