// A card imported with opening values, as the screens show it: the stored-value screen's card
// amount (发卡金额, read at headquarters from the card's '初始金额' row when the branch is linked),
// and the card screen's balance, points and status.
#include <gtest/gtest.h>

#include "CardScreenFixture.h"
#include "module/storedvalue/StoredValueFixture.h"
#include "store/CardImport.h"

using namespace ormex;

namespace {

const std::string kFile = "卡号,卡面编号,姓名,手机,卡类别,有效期至,期初余额,期初积分\r\n"
                          "N1,FN1,周杰,13900000011,03,2028-06-30,150.5,300\r\n";

} // namespace

TEST(ImportedCard, TheStoredValueScreenShowsTheInitialAmountFromHeadquarters)
{
    test::StoredValueScreen t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    // A company moving onto the system imports its cards at headquarters and at the branch alike.
    ASSERT_TRUE(db::importCards(t.host.hq().db(), kFile).ok());
    ASSERT_TRUE(db::importCards(t.host.branch().db(), kFile).ok());
    t.host.branch().exec("update T_Pos_VipRecord set FPlusAmt=0 where FCardId='N1'"); // read at headquarters
    t.screen.tabs()->setTabVisible(0, true);
    t.open(module::storedvalue::frmStoreCardManage::SingleTab);
    t.query(module::storedvalue::frmStoreCardManage::SingleTab, "N1");
    EXPECT_TRUE(t.host.messages().shown().empty()) << t.host.messages().last();
    EXPECT_EQ(t.field("itCardID_0").textStd(), "N1");
    EXPECT_EQ(t.field("itCardAmt").textStd(), "150.5") << "the initial amount";
    EXPECT_EQ(t.field("itLeaveAmt_0").textStd(), "150.5元");
}

TEST(ImportedCard, TheCardScreenShowsItInUseWithItsBalanceAndPoints)
{
    test::CardScreen t;
    ASSERT_TRUE(db::importCards(t.host.branch().db(), kFile).ok());
    t.search("FN1");
    EXPECT_TRUE(t.host.messages().shown().empty()) << t.host.messages().last();
    EXPECT_EQ(t.item(0), "N1");
    EXPECT_EQ(t.item(6), "正常");
    EXPECT_EQ(t.item(9), "150.5元");
    EXPECT_EQ(t.item(4), "300");
    EXPECT_EQ(t.item(7), "2028-06-30");
    EXPECT_EQ(t.item(8), "2026-11-23");
}
