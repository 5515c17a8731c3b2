#include <gtest/gtest.h>

#include <QLineEdit>

#include "module/frame/CardRules.h"
#include "support/TestHost.h"

using namespace ormex;
using namespace ormex::module::frame;

namespace {

// Records how the lookup windows were asked to open.
class RecordingLookups : public platform::GLView, public platform::MCBaseDataApp
{
public:
    std::vector<std::string> calls;
    platform::LookupResult itemLookup(int classId, const std::string& text1, const std::string&,
                                      const platform::FieldMap& options) override
    {
        calls.push_back("item " + std::to_string(classId) + " " + text1 +
                        " search=" + options.text("Search"));
        return {};
    }
    platform::LookupResult subMesLookup(int classId, const std::string& text1, const std::string&) override
    {
        calls.push_back("sub " + std::to_string(classId) + " " + text1);
        return {};
    }
    platform::LookupResult showFormReturn(int classId, bool multi, int mode, const std::string& filter,
                                          const std::string& search) override
    {
        calls.push_back("cards " + std::to_string(classId) + " " + (multi ? "multi" : "single") + " mode " +
                        std::to_string(mode) + " " + filter + " " + search);
        return {true, {{{"FCardId", "C1"}}}};
    }
};

} // namespace

TEST(CardRules, PointsToValueWalksTheTiersFromTheLargest)
{
    test::TestHost host;
    host.branch().exec(
        "insert into T_Pos_VipPointToAmt (FTypeId,FAccNum,saving_amt,FZhRate) values"
        " ('R',100,0,5), ('F',100,8,0), ('T',1000,120,0), ('T',500,55,0), ('T',100,10,0), ('X',300,0,3.333)");
    struct Case
    {
        const char* type;
        double points, used, stored;
    };
    for (const Case& c : {Case{"R", 250, 200, 10}, Case{"F", 250, 200, 16}, Case{"T", 1250, 1000, 120},
                          Case{"T", 1600, 1600, 185}, Case{"T", 90, 0, 0}, Case{"R", 0, 0, 0},
                          Case{"", 500, 0, 0}, Case{"X", 700, 600, 20}}) {
        const auto result = PointsToValue(c.type, c.points);
        EXPECT_DOUBLE_EQ(result.value("UsedPoint").toDouble(), c.used) << c.type << " " << c.points;
        EXPECT_DOUBLE_EQ(result.value("StoredAmt").toDouble(), c.stored) << c.type << " " << c.points;
    }
}

TEST(CardRules, CardNumberCheck)
{
    test::TestHost host;
    QLineEdit field;
    EXPECT_TRUE(CheckCardNumber(std::string(20, '8'), &field, true));
    EXPECT_TRUE(CheckCardNumber("  12  ", &field, true));
    EXPECT_FALSE(CheckCardNumber(std::string(21, '8'), &field, true));
    EXPECT_FALSE(CheckCardNumber("   ", nullptr, true));
    EXPECT_FALSE(CheckCardNumber("", nullptr, false));
    EXPECT_EQ(host.messages().texts(), (std::vector<std::string>{"卡号必须小于20位！", "卡号不能为空！"}));
}

TEST(CardRules, ReadersAndNames)
{
    test::TestHost host;
    host.branch().exec("insert into T_Pos_VipType values ('03','金卡',1,1);"
                       "insert into T_Pos_VipRecord (FCardId,mobile,FCardType) values ('C1','139','03');"
                       "insert into t_stock values (3,'0101','礼品仓');"
                       "insert into t_SystemProfile values ('VIP','MaxFillAmount','500')");
    EXPECT_EQ(GetStatusName(4), "");
    EXPECT_EQ(GetStatusName(9), "未使用");
    EXPECT_EQ(ReadCardTypeName("03"), "金卡");
    EXPECT_EQ(ReadCardTypeName("99"), "");
    EXPECT_TRUE(GetCardTypeColumn("139", "FSavingFlag").toBool());
    EXPECT_EQ(GetCardTypeColumn("none", "FSavingFlag").toString(), "");
    EXPECT_EQ(GetProfileValue("VIP", "MaxFillAmount"), "500");
    EXPECT_EQ(GetProfileValue("VIP", "Missing"), "");
    EXPECT_EQ(GetStockName("3"), "礼品仓");
    host.clock().set({{2026, 11, 23}, 9, 5, 7});
    EXPECT_EQ(CurrentTimeText(), " 9:5:7");
}

TEST(CardRules, LookupsOpenTheHostWindowOfTheirClass)
{
    test::TestHost host;
    auto lookups = std::make_shared<RecordingLookups>();
    auto& factory = platform::HostServices::instance().factory();
    factory.registerClass("OrmexEBCGLView.GLView",
                          [lookups] { return std::static_pointer_cast<platform::GLView>(lookups); });
    factory.registerClass("OrmexMCBaseData.Application",
                          [lookups] { return std::static_pointer_cast<platform::GLView>(lookups); });
    EXPECT_TRUE(ShowLookup(50, "", "(F)", "").returnOk);
    ShowLookup(50, "88", "(F)", "88");
    ShowLookup(4, "G1", "cond", "");
    ShowLookup(34, "", "c34", "");
    ShowLookup(31, "", "", "");
    EXPECT_FALSE(ShowLookup(7, "x", "", "").returnOk);
    ShowCardLookup(50, " FSavingFlag=1 ", true, "");
    EXPECT_FALSE(ShowCardLookup(4, "", false, "").returnOk);
    EXPECT_EQ(lookups->calls,
              (std::vector<std::string>{
                  "cards 50 single mode 2 (F) ", "cards 50 single mode 3 (F) 88", "item 4 cond search=G1",
                  "sub 34 c34", "item 4 Fdetail=0  search=", "cards 50 multi mode 3  FSavingFlag=1  "}));
}
