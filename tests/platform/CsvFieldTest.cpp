#include <gtest/gtest.h>

#include "platform/CsvFile.h"

using ormex::platform::csvField;
using ormex::platform::csvText;

// What a member's name or memo typed as a formula becomes in an exported file: text a spreadsheet
// shows, never a formula it runs. Amounts, negative ones too, stay numbers.
TEST(CsvField, AFormulaOpensAsTextAndANumberAsANumber)
{
    EXPECT_EQ(csvField("=HYPERLINK(\"http://x\",\"点此\")"),
              "\"'=HYPERLINK(\"\"http://x\"\",\"\"点此\"\")\"");
    EXPECT_EQ(csvField("+cmd|' /C calc'!A0"), "'+cmd|' /C calc'!A0");
    EXPECT_EQ(csvField("-2+3"), "'-2+3");
    EXPECT_EQ(csvField("@SUM(A1:A9)"), "'@SUM(A1:A9)");
    EXPECT_EQ(csvField("\t=1"), "'\t=1");
    EXPECT_EQ(csvField("\r=1"), "\"'\r=1\"");

    EXPECT_EQ(csvField("-5.00"), "-5.00");
    EXPECT_EQ(csvField("+12"), "+12");
    EXPECT_EQ(csvField("张伟=会员"), "张伟=会员") << "only the first character makes a formula";
    EXPECT_EQ(csvField(""), "");
    EXPECT_EQ(csvText({{"=1", "-1"}}), "\xEF\xBB\xBF'=1,-1\r\n");
}
