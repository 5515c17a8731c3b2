#include <gtest/gtest.h>

#include <string>

#include "platform/Text.h"

using ormex::platform::firstCharacters;
using ormex::platform::invalidUtf8At;

TEST(Utf8, TheFirstMalformedByteIsFoundWhateverRunsBeforeIt)
{
    constexpr auto npos = std::string::npos;
    EXPECT_EQ(invalidUtf8At(""), npos);
    EXPECT_EQ(invalidUtf8At("select '积分' -- ü €\r\n𠀀\x7F"), npos);
    EXPECT_EQ(invalidUtf8At("\xF4\x8F\xBF\xBF\xEF\xBF\xBF\xED\x9F\xBF\xC2\x80"), npos); // the edges
    // Before and after runs of ASCII of every length around the eight bytes read at once.
    for (std::size_t ascii = 0; ascii < 20; ++ascii) {
        const std::string run(ascii, 'a');
        EXPECT_EQ(invalidUtf8At(run + "\xFF" + run), ascii);
        EXPECT_EQ(invalidUtf8At("积" + run + "\xE7\xA7"), ascii + 3);
        EXPECT_EQ(invalidUtf8At(run + "积分" + run + "\x80" + run), 2 * ascii + 6);
        EXPECT_EQ(invalidUtf8At(run + "\xC1\xBF"), ascii);
    }
    EXPECT_EQ(invalidUtf8At("ab\xE0\x9F\xBF"), 2u);     // overlong
    EXPECT_EQ(invalidUtf8At("ab\xF0\x8F\xBF\xBF"), 2u); // overlong
    EXPECT_EQ(invalidUtf8At("ab\xED\xBF\xBF"), 2u);     // surrogate
    EXPECT_EQ(invalidUtf8At("ab\xF4\x90\x80\x80"), 2u); // past U+10FFFF
    EXPECT_EQ(invalidUtf8At("ab\xF0\x90\x80"), 2u);     // cut short
    EXPECT_EQ(invalidUtf8At("ab\xE7\xA7\x41"), 2u);     // cut short by ASCII
}

TEST(Utf8, FirstCharactersNeverCutsOne)
{
    EXPECT_EQ(firstCharacters("总部数据库", 2), "总部");
    EXPECT_EQ(firstCharacters("ab总部", 3), "ab总");
    EXPECT_EQ(firstCharacters("ab", 5), "ab");
    EXPECT_EQ(invalidUtf8At(firstCharacters(std::string(399, 'x') + "总部", 400)), std::string::npos);
}
