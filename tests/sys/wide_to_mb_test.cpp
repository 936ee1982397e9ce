#include "orvel/sys/wide_to_mb.h"

#include <gtest/gtest.h>

#include "orvel/sys/utf8.h"

namespace OrvelSys {
namespace {

// Both widths of wchar_t are tested wherever the tests run.
TEST(ToUtf8, EncodesEveryLength) {
    struct Case {
        std::u16string utf16;
        std::u32string utf32;
        std::string utf8;
    };
    for (const Case& c : {
             Case{u"", U"", ""},
             {u"a\x7F", U"a\x7F", "a\x7F"},
             {u"\u0080\u07FF", U"\u0080\u07FF", "\xC2\x80\xDF\xBF"},
             {u"\u0800\uD7FF\uE000\uFFFF", U"\u0800\uD7FF\uE000\uFFFF",
              "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"},
             {u"\U00010000\U0010FFFF", U"\U00010000\U0010FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
         }) {
        std::string from16 = "x", from32 = "x";
        EXPECT_TRUE(toUtf8(std::u16string_view(c.utf16), from16));
        EXPECT_TRUE(toUtf8(std::u32string_view(c.utf32), from32));
        EXPECT_EQ(from16, c.utf8);
        EXPECT_EQ(from32, c.utf8);
    }
}

TEST(ToUtf8, RefusesWhatIsNoText) {
    std::string out = "kept";
    for (const std::u16string& text :
         {std::u16string{0xD800}, {u'a', 0xDBFF, u'b'}, {0xDC00, 0xD800}, {0xDFFF}, {0xD800, 0xD800, 0xDC00}})
        EXPECT_FALSE(toUtf8(std::u16string_view(text), out)) << testing::PrintToString(text);
    for (char32_t point : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu})
        EXPECT_FALSE(toUtf8(std::u32string_view(&point, 1), out)) << std::uint32_t{point};
    const char32_t pair[] = {0xD800, 0xDC00};
    EXPECT_FALSE(toUtf8(std::u32string_view(pair, 2), out)) << "two code points, not one";
    EXPECT_EQ(out, "kept");
}

TEST(WideToMB, ConvertsToTheTerminatorOrTheGivenLength) {
    std::string out = "kept";
    EXPECT_FALSE(WideToMB(nullptr, out));
    EXPECT_FALSE(WideToMB(L"abc", out, -2));
    EXPECT_EQ(out, "kept");
    EXPECT_TRUE(WideToMB(L"a\u00E9\U0001F3AC", out));
    EXPECT_EQ(out, "a\xC3\xA9\xF0\x9F\x8E\xAC");
    EXPECT_TRUE(WideToMB(L"ab\0cd", out, 4));
    EXPECT_EQ(out, std::string("ab\0c", 4));
    EXPECT_TRUE(WideToMB(L"abc", out, 0));
    EXPECT_EQ(out, "");
}

}  // namespace
}  // namespace OrvelSys
