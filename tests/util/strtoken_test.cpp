#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/StrToken.h"

namespace {

std::vector<std::string> allTokens(StrToken& tokens) {
    std::vector<std::string> out;
    for (char* t = tokens.nextToken(); t; t = tokens.nextToken()) out.push_back(t);
    return out;
}

}  // namespace

TEST(StrToken, LeadingAndTrailingDelimitersAndRestoredBuffer) {
    char buf[] = " ,x,y, z ,";
    const std::string before = buf;
    StrToken tokens(buf, " ,");
    EXPECT_EQ(allTokens(tokens), (std::vector<std::string>{"x", "y", "z"}));
    EXPECT_EQ(tokens.nextToken(), nullptr);
    tokens.close();
    EXPECT_EQ(std::string(buf), before);
}

TEST(StrToken, NewTokenRestoresOldStringAndSwitchesDelimiters) {
    char first[] = "p;q;r";
    char second[] = "u v;w";
    StrToken tokens(first, ";");
    EXPECT_STREQ(tokens.nextToken(), "p");
    EXPECT_STREQ(tokens.newToken(second, " "), "u");
    EXPECT_STREQ(first, "p;q;r");
    EXPECT_STREQ(tokens.nextToken(), "v;w");
    EXPECT_EQ(tokens.nextToken(), nullptr);
    EXPECT_STREQ(tokens.newToken(first, nullptr), "p;q;r");  // the blank set stays
    tokens.close();
    EXPECT_STREQ(second, "u v;w");
}

TEST(StrToken, EmptyBlankAndNullStrings) {
    char empty[] = "", blanks[] = "   ";
    for (char* text : {empty, blanks, static_cast<char*>(nullptr)}) {
        StrToken tokens(text, " ");
        EXPECT_EQ(tokens.nextToken(), nullptr);
        EXPECT_EQ(tokens.newToken(nullptr, ","), nullptr);
    }
}
