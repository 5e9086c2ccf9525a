#include "Comm/PayloadText.h"

#include <gtest/gtest.h>

TEST(PayloadTextTest, CharactersThatCouldForgeALineAreEscaped)
{
    const struct {
        const char* text;
        const char* line;
    } cases[] = {
        {"a\r\n12:00 b\x1b[2J\x7f", "a\\r\\n12:00 b\\x1b[2J\\x7f"},
        {"\u0085\u009b1m", "\\x85\\x9b1m"},
        {"\u2028\u2029\u202e\u2066\u200f\u061c\ufeff", "\\u2028\\u2029\\u202e\\u2066\\u200f\\u061c\\ufeff"},
        {"a\x9b\xc3", "a\ufffd\ufffd"},
        {"B\u00fchne \\n \u958b\u5834 \U0001f468\u200d\U0001f3a4",
         "B\u00fchne \\n \u958b\u5834 \U0001f468\u200d\U0001f3a4"},
    };

    for (const auto& [text, line] : cases) {
        EXPECT_EQ(LineText(std::string(text)), line);
        EXPECT_EQ(LineText(std::string(line)), line);
    }
    EXPECT_EQ(PayloadText("\\n\n"), "\\\\n\\n");
}
