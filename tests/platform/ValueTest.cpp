#include <gtest/gtest.h>

#include "platform/FieldMap.h"
#include "platform/Recordset.h"
#include "platform/Text.h"
#include "platform/Value.h"

using namespace ormex::platform;

TEST(Value, ConvertsBetweenTextAndNumbers)
{
    EXPECT_EQ(Value().toString(), "");
    EXPECT_EQ(Value(0.1 + 0.2).toString(), "0.3");
    EXPECT_EQ(Value(42).toString(), "42");
    EXPECT_DOUBLE_EQ(Value("12.5").toDouble(), 12.5);
    EXPECT_DOUBLE_EQ(Value("12a").toDouble(), 0.0);
    EXPECT_EQ(Value("2.5").toInt(), 3);
    EXPECT_TRUE(Value("1").toBool());
    EXPECT_TRUE(Value("True").toBool());
    EXPECT_FALSE(Value("0").toBool());
    EXPECT_FALSE(Value("").toBool());
    EXPECT_TRUE(Value(" ").isBlank());
    EXPECT_TRUE(Value("3").isNumeric());
    EXPECT_FALSE(Value("x").isNumeric());
}

TEST(FieldMap, KeysIgnoreCaseAndKeepOrder)
{
    FieldMap map;
    map.set("FBalanceStyleID", 1);
    map.set("FCardId", "A1");
    map.set("FBalanceStyleId", 2);
    ASSERT_EQ(map.size(), 2u);
    EXPECT_EQ(map.entries()[0].first, "FBalanceStyleID");
    EXPECT_EQ(map.value("fbalancestyleid").toInt(), 2);
    EXPECT_EQ(map.value("missing", "dflt").toString(), "dflt");
    EXPECT_TRUE(map.remove("FCARDID"));
    EXPECT_FALSE(map.contains("FCardId"));
}

TEST(Recordset, CursorAndFieldsByName)
{
    Recordset rs({"FCardId", "cur_num"}, {{Value("A1"), Value(10)}, {Value("B2"), Value(20)}});
    EXPECT_EQ(rs.recordCount(), 2u);
    EXPECT_EQ(rs.field("FCARDID").toString(), "A1");
    rs.moveNext();
    EXPECT_EQ(rs.field("Cur_Num").toInt(), 20);
    rs.moveNext();
    EXPECT_TRUE(rs.atEnd());
    EXPECT_TRUE(rs.field("FCardId").isNull());
    EXPECT_EQ(rs.toRecordList().at(1).text("fcardid"), "B2");
}

TEST(Text, ListEntriesCarryTheirCode)
{
    EXPECT_EQ(padEntry("正常", 35, "0"), "正常                               |0");
    EXPECT_EQ(padEntry("等于", 34, "="), "等于                              |=");
    EXPECT_EQ(entryCode("大于等于                          |>="), ">=");
    EXPECT_EQ(entryCode(""), "");
    EXPECT_EQ(quoteDoubled("A'B"), "A''B");
}
