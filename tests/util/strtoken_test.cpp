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

TEST(StrToken, BufferRestoredWhenScanStopsEarly) {
    char buf[] = "1.0 2.0\t3.0";
    {
        StrToken tokens(buf, " \t");
        EXPECT_STREQ(tokens.nextToken(), "1.0");
        EXPECT_STREQ(tokens.nextToken(), "2.0");
    }
    EXPECT_STREQ(buf, "1.0 2.0\t3.0");
}

TEST(StrToken, PermanentKeepsTerminators) {
    char buf[] = "a b c";
    StrToken tokens(buf, " ");
    tokens.permanent = true;
    char* a = tokens.nextToken();
    char* b = tokens.nextToken();
    char* c = tokens.nextToken();
    tokens.close();
    EXPECT_STREQ(a, "a");
    EXPECT_STREQ(b, "b");
    EXPECT_STREQ(c, "c");
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
