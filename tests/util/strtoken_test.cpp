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

TEST(StrToken, EmptyAndNullStrings) {
    char empty[] = "";
    StrToken a(empty, " ");
    EXPECT_EQ(a.nextToken(), nullptr);
    char blanks[] = "   ";
    StrToken b(blanks, " ");
    EXPECT_EQ(b.nextToken(), nullptr);
    StrToken c(nullptr, " ");
    EXPECT_EQ(c.nextToken(), nullptr);
    EXPECT_EQ(c.newToken(nullptr, ","), nullptr);
}
