// The gift tabs of the points screen end to end: the catalogue kept in T_Pos_VipGift, and points
// exchanged for the gifts a card can afford.
#include <gtest/gtest.h>

#include "store/Operators.h"

#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>

#include "PointsScreenFixture.h"
#include "module/frame/Gateway.h"
#include "module/widgets/InputField.h"
#include "store/DemoData.h"

using namespace ormex;
using test::PointsScreen;

namespace {

constexpr int kGifts = 1;
constexpr int kExchange = 2;

class Catalogue : public PointsScreen
{
public:
    using PointsScreen::PointsScreen;
    void open() { screen.tabs()->setCurrentIndex(kGifts); }
    void query(const QString& number = {})
    {
        screen.memberBox(kGifts)->setText(number);
        screen.findChild<QPushButton*>("cmdSearch_1")->click();
    }
    int add()
    {
        screen.findChild<QPushButton*>("cmdAdd_1")->click();
        return grid(kGifts).rowCount() - 1;
    }
    // A new row with a gift number, and optionally a card type code and a warehouse number.
    int addGift(const char* number, const char* type = nullptr, const char* warehouse = nullptr)
    {
        const int row = add();
        type_(row, "FNumber", number);
        if (type) type_(row, "type_name", type);
        if (warehouse) type_(row, "FStockName", warehouse);
        return row;
    }
    void type_(int row, const char* field, const char* text)
    {
        type(row, field, QString::fromUtf8(text), kGifts);
    }
    std::vector<std::string> stored()
    {
        return host.branch().rows(
            "select FItemId,FCardType,FBranchID,FBranchNo,FItemNum,FVipNum,FBeginDate,FEndDate "
            "from T_Pos_VipGift order by FItemId,FCardType,FBranchID");
    }
};

} // namespace

TEST(GiftSettings, TheCatalogueRoundTrip)
{
    Catalogue t;
    t.open();
    const int row = t.add();
    EXPECT_EQ(t.grid(kGifts).cellStd(row, "FBeginDate"), "2026-11-23");
    EXPECT_EQ(t.grid(kGifts).cellStd(row, "FEndDate"), "2026-12-23");
    EXPECT_EQ(t.grid(kGifts).cellStd(row, "FItemNum"), "1");
    EXPECT_EQ(t.grid(kGifts).cellStd(row, "FStockName"), "一分店礼品仓") << "the branch's first warehouse";
    EXPECT_EQ(t.grid(kGifts).cellStd(row, "FBranchNo"), "0101");
    EXPECT_TRUE(t.screen.isChanged(kGifts));
    t.type_(row, "FNumber", "G001");
    EXPECT_EQ(t.grid(kGifts).cellStd(row, "FName"), "保温杯");
    EXPECT_EQ(t.grid(kGifts).cellStd(row, "FItemID"), "101");
    t.type_(row, "FVipNum", "300");
    t.addGift("G002", "03", "0102");
    EXPECT_EQ(t.grid(kGifts).cellStd(1, "type_name"), "金卡");
    EXPECT_EQ(t.grid(kGifts).cellStd(1, "FStockName"), "一分店百货仓");
    t.addGift("G007");
    t.type_(2, "FItemNum", "2");

    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"确定保存礼品设置修改？"});
    EXPECT_EQ(t.stored(), (std::vector<std::string>{"101|All|2|0101|1|300|2026-11-23|2026-12-23",
                                                    "102|03|3|0102|1|0|2026-11-23|2026-12-23",
                                                    "107|All|2|0101|2|0|2026-11-23|2026-12-23"}))
        << "an empty card type is stored as All";
    EXPECT_EQ(t.host.branch().rows("select FDescription from t_OperLog"),
              std::vector<std::string>{"积分管理---礼品设置"});
    EXPECT_TRUE(t.host.branch().rows("select * from t_NetTask").empty())
        << "the catalogue takes no task lock";
    EXPECT_EQ(t.grid(kGifts).rowCount(), 3) << "the catalogue is read again";

    // Changing a row's card type leaves one row with the new type and none with the old.
    t.type_(t.grid(kGifts).cellStd(0, "FItemID") == "101" ? 0 : 1, "type_name", "01");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.branch().scalar("select count(*) from T_Pos_VipGift where FItemId=101").toInt(), 1);
    EXPECT_EQ(t.host.branch().scalar("select FCardType from T_Pos_VipGift where FItemId=101").toString(),
              "01");
}

TEST(GiftSettings, DuplicatesAreRefusedAndOtherTypesOrWarehousesAccepted)
{
    Catalogue t;
    t.open();
    t.addGift("G001", "01");
    t.addGift("G001", "03");
    t.addGift("G001", "01", "0102");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.stored().size(), 3u) << "the same gift for two types or two warehouses";

    t.addGift("G001", "03");
    t.host.messages().clear();
    t.host.messages().answer(true);
    const auto before = t.stored();
    t.ok();
    EXPECT_EQ(t.host.messages().texts(),
              (std::vector<std::string>{"确定保存礼品设置修改？", "第【4】行礼品设置重复！"}));
    EXPECT_EQ(t.grid(kGifts).currentRow(), 3);
    EXPECT_EQ(t.grid(kGifts).currentColumn(), t.grid(kGifts).columnOf("FNumber"));
    EXPECT_EQ(t.stored(), before);
    EXPECT_FALSE(t.screen.CheckData(kGifts, "101", 3, "03", "2"));
    EXPECT_TRUE(t.screen.CheckData(kGifts, "101", 3, "03", "3"));
}

TEST(GiftSettings, EachCheckStopsTheSaveOnItsColumn)
{
    struct Case
    {
        std::function<void(Catalogue&, int)> spoil;
        const char* message;
        const char* column;
    };
    const Case cases[] = {
        {[](Catalogue& t, int r) { t.type_(r, "FNumber", ""); }, "第【2】行礼品编码不能为空！", "FNumber"},
        {[](Catalogue& t, int r) { t.type_(r, "FItemNum", "0"); }, "第【2】行礼品数量必须大于0！",
         "FItemNum"},
        {[](Catalogue& t, int r) { t.type_(r, "FStockName", "9999"); }, "第【2】行对应仓库不能为空！",
         "FStockName"},
        {[](Catalogue& t, int r) { t.grid(kGifts).setCell(r, "FBeginDate", ""); },
         "第【2】行有效期至和有效期始都不能为空！", "FBeginDate"},
        {[](Catalogue& t, int r) { t.type_(r, "FEndDate", "2026-11-01"); },
         "第【2】行有效期至不能小于有效期始！", "FEndDate"},
    };
    for (const Case& c : cases) {
        Catalogue t;
        t.open();
        t.addGift("G001");
        const int row = t.addGift("G002");
        c.spoil(t, row);
        t.host.messages().clear();
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.host.messages().texts().back(), c.message);
        EXPECT_EQ(t.grid(kGifts).currentRow(), row) << c.message;
        EXPECT_EQ(t.grid(kGifts).currentColumn(), t.grid(kGifts).columnOf(c.column)) << c.message;
        EXPECT_TRUE(t.stored().empty()) << c.message;
    }
}

TEST(GiftSettings, TheSaveMakesTheCatalogueWhatTheGridHolds)
{
    const char* const catalogue =
        "insert into T_Pos_VipGift values (101,'All',2,'0101',1,300,'2026-11-01','2026-12-31'),"
        " (102,'All',2,'0101',1,150,'2026-11-01','2026-12-31'),"
        " (107,'03',2,'0101',2,40,'2026-11-01','2026-12-31')";
    {
        Catalogue t;
        t.host.branch().exec(catalogue);
        t.open();
        t.query("G404");
        EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"礼品兑换库中不存在该商品编号！"});
        t.query("G001");
        ASSERT_EQ(t.grid(kGifts).rowCount(), 1);
        t.type_(0, "FVipNum", "320");
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.stored(), std::vector<std::string>{"101|All|2|0101|1|320|2026-11-01|2026-12-31"})
            << "after a query for one gift too";
    }
    {
        // Rows added without a query: the old rows go, also one with the same gift and warehouse
        // kept for every card type.
        Catalogue t;
        t.host.branch().exec(catalogue);
        t.open();
        t.addGift("G001");
        t.type_(0, "FVipNum", "280");
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.stored(), std::vector<std::string>{"101|All|2|0101|1|280|2026-11-23|2026-12-23"});
    }
}

TEST(GiftSettings, DeletingARowDeletesThatRowOnly)
{
    Catalogue t;
    t.host.branch().exec(
        "insert into T_Pos_VipGift values (107,'03',2,'0101',2,40,'2026-11-01','2026-12-31'),"
        " (107,'03',3,'0102',1,30,'2026-11-01','2026-12-31'),"
        " (107,'All',3,'0102',1,50,'2026-11-01','2026-12-31')");
    t.open();
    t.query();
    int row = 0;
    while (row < t.grid(kGifts).rowCount() && !(t.grid(kGifts).cellStd(row, "FCardType") == "03" &&
                                                t.grid(kGifts).cellStd(row, "FBranchID") == "3"))
        ++row;
    ASSERT_LT(row, t.grid(kGifts).rowCount());
    t.grid(kGifts).setActiveCell(row, 1);
    ASSERT_TRUE(t.screen.findChild<QPushButton*>("cmdDel_1")->isEnabled());
    t.host.messages().answer(true);
    t.screen.findChild<QPushButton*>("cmdDel_1")->click();
    EXPECT_EQ(t.host.messages().texts().back(), "确定删除礼品：G007+金卡?");
    EXPECT_EQ(t.stored(), (std::vector<std::string>{"107|03|2|0101|2|40|2026-11-01|2026-12-31",
                                                    "107|All|3|0102|1|50|2026-11-01|2026-12-31"}));
    EXPECT_EQ(t.grid(kGifts).rowCount(), 2);
}

TEST(GiftSettings, AQueryAsksBeforeDroppingEdits)
{
    Catalogue t;
    t.host.branch().exec(
        "insert into T_Pos_VipGift values (101,'All',2,'0101',1,300,'2026-11-01','2026-12-31')");
    t.open();
    t.query();
    t.type_(0, "FVipNum", "310");
    t.host.messages().clear();
    t.host.messages().answer(false);
    t.query();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"数据已经改变，是否保存？"});
    EXPECT_EQ(t.grid(kGifts).cellStd(0, "FVipNum"), "300.00") << "No: the edit is dropped";
    EXPECT_FALSE(t.screen.isChanged(kGifts));

    t.type_(0, "FVipNum", "320");
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.host.messages().answer(true);
    t.query();
    EXPECT_EQ(t.host.messages().texts(),
              (std::vector<std::string>{"数据已经改变，是否保存？", "确定保存礼品设置修改？"}));
    EXPECT_EQ(t.host.branch().scalar("select FVipNum from T_Pos_VipGift where FItemId=101").toInt(), 320)
        << "Yes: saved";
    EXPECT_FALSE(t.screen.isChanged(kGifts));
}

TEST(GiftSettings, ReadOnlyAtALinkedBranchWhenHeadquartersKeepsTheGifts)
{
    for (bool branch : {true, false}) {
        test::TestHostOptions options{.isBranch = branch, .svCardShareType = true, .withHeadquarters = true};
        Catalogue t(options);
        t.host.branch().exec("insert into t_SystemProfile values ('VIP','SetVipGiftAtZb','1')");
        t.screen.loadForm();
        t.open();
        const bool editable = !branch;
        EXPECT_EQ(t.screen.findChild<QPushButton*>("cmdAdd_1")->isEnabled(), editable) << branch;
        EXPECT_EQ(t.screen.findChild<QPushButton*>("cmdBatchAdd_1")->isEnabled(), editable) << branch;
        t.grid(kGifts).setRows(1);
        for (const char* field :
             {"FNumber", "FItemNum", "type_name", "FVipNum", "FBeginDate", "FEndDate", "FStockName"})
            EXPECT_EQ(t.grid(kGifts).isCellLocked(0, t.grid(kGifts).columnOf(field)), !editable) << field;
        EXPECT_EQ(t.screen.option(module::points::frmPointManage::Clearing)->isHidden(), branch);
    }
}

namespace {

// A card and a catalogue to exchange from: P1 has 40 points left, P3 50.
class Exchange : public PointsScreen
{
public:
    explicit Exchange(test::TestHostOptions options = {}) : PointsScreen(options)
    {
        catalogue(host.branch());
        if (options.withHeadquarters) catalogue(host.hq());
        screen.tabs()->setCurrentIndex(kExchange);
    }
    static void catalogue(test::TestDatabase& db)
    {
        db.exec("insert into T_Pos_VipGift values (101,'All',2,'0101',1,300,'2026-11-01','2026-12-31'),"
                " (102,'03',2,'0101',1,30,'2026-11-01','2026-12-31'),"
                " (103,'All',2,'0101',1,10,'2026-11-01','2026-12-31'),"
                " (107,'All',3,'0102',1,5,'2026-11-01','2026-12-31'),"
                " (102,'All',2,'0101',1,5,'2026-01-01','2026-11-22')"); // over yesterday
    }
    void find(const char* number)
    {
        screen.memberBox(kExchange)->setText(QString::fromUtf8(number));
        screen.findChild<QPushButton*>("cmdSearch_2")->click();
    }
    std::vector<std::string> offered()
    {
        std::vector<std::string> gifts;
        for (int r = 0; r < grid(kExchange).rowCount(); ++r)
            gifts.push_back(grid(kExchange).cellStd(r, "FNumber"));
        std::sort(gifts.begin(), gifts.end());
        return gifts;
    }
    int row(const char* number)
    {
        for (int r = 0; r < grid(kExchange).rowCount(); ++r)
            if (grid(kExchange).cellStd(r, "FNumber") == number) return r;
        return -1;
    }
    void tick(const char* number)
    {
        auto& g = grid(kExchange);
        g.setActiveCell(row(number), g.columnOf("Sel"));
        QTest::keyClick(g.viewport(), Qt::Key_Space); // the operator ticks with the space bar
        QApplication::processEvents();
    }
    std::string panel(const char* name)
    {
        return screen.findChild<module::widgets::InputField*>(name)->textStd();
    }
};

} // namespace

TEST(GiftExchange, OffersTheGiftsTheCardCanAffordToday)
{
    Exchange t;
    t.find("13900000003"); // P3, gold, 50 points
    EXPECT_EQ(t.panel("itCardID"), "P3");
    EXPECT_EQ(t.panel("itMemType"), "金卡");
    EXPECT_EQ(t.panel("itLeavePoint"), "50.00");
    EXPECT_EQ(t.panel("itEnd"), "2027-12-31");
    EXPECT_EQ(t.offered(), (std::vector<std::string>{"G002", "G003", "G007"}))
        << "not the 300-point cup, not the gift of yesterday";
    t.host.branch().exec("update T_Pos_VipRecord set FAccNum=350 where FCardId='P3'");
    t.find("P3");
    EXPECT_EQ(t.offered(), (std::vector<std::string>{"G001", "G002", "G003", "G007"}))
        << "300 remaining: listed";

    t.find("P1"); // common card, 40 points: the gold-card gift is not for it
    EXPECT_EQ(t.offered(), (std::vector<std::string>{"G003", "G007"}));

    t.host.branch().exec("update T_Pos_VipRecord set mobile='13900000001' where FCardId='P2'");
    t.host.messages().clear();
    t.find("13900000001");
    EXPECT_EQ(t.host.messages().texts(),
              std::vector<std::string>{"找到多条会员卡或手机号为[13900000001]的记录！"});
    EXPECT_EQ(t.panel("itCardID"), "");
    EXPECT_EQ(t.grid(kExchange).rowCount(), 0);
    t.host.messages().clear();
    t.find("P5");
    EXPECT_EQ(t.host.messages().texts(),
              std::vector<std::string>{"该卡号不在正常使用中，无法进行礼品兑换操作！"});
    t.host.messages().clear();
    t.find("P6");
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"该卡不是积分卡，不能进行兑换礼品！"});
}

TEST(GiftExchange, ThreeGiftsForOneCard)
{
    Exchange t;
    t.host.branch().exec("update T_Pos_VipRecord set FAccNum=500 where FCardId='P3'"); // 500 left
    t.find("P3");
    t.tick("G002");
    const int bags = t.row("G007");
    EXPECT_EQ(t.grid(kExchange).cellStd(t.row("G002"), "FItemNum"), "1") << "ticking sets quantity 1";
    t.tick("G007");
    t.type(bags, "FItemNum", "3", kExchange);
    EXPECT_EQ(t.grid(kExchange).cellStd(bags, "FVipNum"), "15.00") << "3 × 5";
    EXPECT_EQ(t.panel("itLeavePoint"), "455.00") << "the remaining points follow the ticked gifts";
    t.tick("G001");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"确定对会员[P3]的积分进行礼品兑换？"});
    EXPECT_EQ(
        t.host.branch().rows(
            "select Fbranchid,FBranchno,FCardId,flag,Fitemid,FItemNum,FVipNum,FAuxPropID,memo,"
            "FComFlag from T_Pos_VipGiftList order by Fitemid"),
        (std::vector<std::string>{"2|0101|P3|2|101|1|300|0|礼品兑换|1", "2|0101|P3|2|102|1|30|0|礼品兑换|1",
                                  "3|0102|P3|2|107|3|15|0|礼品兑换|1"}));
    EXPECT_EQ(t.host.branch().rows("select FBranchno,FVipMinusTotalNum,FComFlag from T_Pos_VipConsume"),
              std::vector<std::string>{"01|345|0"});
    EXPECT_EQ(t.card("P3"), "500|345");
    EXPECT_TRUE(t.host.branch().rows("select * from t_NetTask").empty()) << "released with the commit";
    EXPECT_EQ(t.host.branch().rows("select FDescription from t_OperLog"),
              std::vector<std::string>{"积分管理---礼品兑换"});
    EXPECT_EQ(t.panel("itUsedPoint"), "345") << "the card is read again";
    EXPECT_EQ(t.panel("itLeavePoint"), "155.00");
}

TEST(GiftExchange, ACardDeletedAfterItWasFoundIsNotExchanged)
{
    Exchange t;
    t.host.branch().exec("update T_Pos_VipRecord set FAccNum=500 where FCardId='P3'");
    t.find("P3");
    t.tick("G002");
    t.host.branch().exec("update T_Pos_VipRecord set FDeleted=1 where FCardId='P3'");
    t.host.messages().answer(true);
    t.ok();
    const auto texts = t.host.messages().texts();
    ASSERT_GE(texts.size(), 2u);
    EXPECT_EQ(texts[1], module::frame::kChangedSinceReadMessage);
    EXPECT_TRUE(t.movements().empty());
    EXPECT_EQ(t.card("P3"), "500|0");
}

TEST(GiftExchange, PointsUsedSinceTheCardWasReadAreNotUsedTwice)
{
    Exchange t;
    t.find("P3"); // 50 left
    t.tick("G002");
    t.host.branch().exec("update T_Pos_VipRecord set FDecNum=40 where FCardId='P3'"); // a deduction meanwhile
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), (std::vector<std::string>{"确定对会员[P3]的积分进行礼品兑换？",
                                                                   "积分不足，无法进行正常兑换！"}));
    EXPECT_EQ(t.card("P3"), "50|40");
    EXPECT_TRUE(t.movements().empty());
    EXPECT_TRUE(t.host.branch().rows("select * from T_Pos_VipConsume").empty());
    EXPECT_EQ(t.panel("itLeavePoint"), "10.00") << "the card is read again";
}

TEST(GiftExchange, AGiftKeptByAttributeNeedsOne)
{
    Exchange t;
    t.find("P3");
    t.tick("G003");
    const auto before = t.host.branch().rows("select count(*) from T_Pos_VipGiftList");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts().back(),
              "第【" + std::to_string(t.row("G003") + 1) + "】行辅助属性不能为空！");
    EXPECT_EQ(t.grid(kExchange).currentColumn(), t.grid(kExchange).columnOf("FAuxPropName"));
    EXPECT_EQ(t.host.branch().rows("select count(*) from T_Pos_VipGiftList"), before);
    EXPECT_EQ(t.card("P3"), "50|0");

    t.grid(kExchange).setCell(t.row("G003"), "FAuxPropName", "中码");
    t.grid(kExchange).setCell(t.row("G003"), "FAuxPropID", "2");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.branch().rows("select Fitemid,FAuxPropID from T_Pos_VipGiftList"),
              std::vector<std::string>{"103|2"});
}

TEST(GiftExchange, TooManyPointsAreRefusedBeforeTheQuestion)
{
    Exchange t;
    t.find("P1"); // 40 left
    t.tick("G003");
    t.type(t.row("G003"), "FItemNum", "5", kExchange);
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"会员积分不足，请重新输入数量！"});
    t.host.messages().clear();
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"会员积分不足，不能进行兑换！"});
    EXPECT_EQ(t.card("P1"), "100|60");
}

TEST(GiftExchange, ALinkedBranchReplaysTheExchangeAtHeadquarters)
{
    {
        Exchange t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
        t.find("P3");
        t.tick("G007");
        t.host.hq().exec("update T_Pos_VipRecord set FDecNum=48 where FCardId='P3'");
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.host.messages().texts(),
                  (std::vector<std::string>{"确定对会员[P3]的积分进行礼品兑换？",
                                            "总部积分不足，无法进行正常兑换！", "保存数据失败！"}));
        t.host.hq().exec("update T_Pos_VipRecord set FDecNum=0 where FCardId='P3'");
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.card("P3"), "50|5");
        EXPECT_EQ(t.card("P3", &t.host.hq()), "50|5")
            << "headquarters' card loses the points too, though its totals row of this branch is new";
        EXPECT_EQ(t.movements(&t.host.hq()), std::vector<std::string>{"P3|2|1|5|7|礼品兑换|1"});
        EXPECT_EQ(t.host.hq().rows("select FDescription from t_Log"),
                  std::vector<std::string>{"分店[01]进行积分管理---礼品兑换"});
    }
    {
        Exchange t({.isBranch = true, .svCardShareType = true});
        t.find("P3");
        t.tick("G007");
        t.ok();
        EXPECT_EQ(t.host.messages().texts(),
                  std::vector<std::string>{"礼品兑换需与总部联网，请联网后再兑换！"});
    }
}

TEST(GiftTabs, OnTheDemoData)
{
    PointsScreen t;
    t.useDemoData();
    t.screen.resize(1000, 600);
    t.screen.tabs()->setCurrentIndex(kGifts);
    t.screen.findChild<QPushButton*>("cmdSearch_1")->click();
    EXPECT_EQ(t.grid(kGifts).rowCount(), 9);
    test::saveShot(t.screen, "gift-settings.png");
    t.screen.tabs()->setCurrentIndex(kExchange);
    t.screen.memberBox(kExchange)->setText("88000002");
    t.screen.findChild<QPushButton*>("cmdSearch_2")->click();
    EXPECT_GT(t.grid(kExchange).rowCount(), 0);
    auto& g = t.grid(kExchange);
    g.setActiveCell(0, g.columnOf("Sel"));
    QTest::keyClick(g.viewport(), Qt::Key_Space);
    test::saveShot(t.screen, "gift-exchange.png");
}

TEST(GiftExchange, ACashierIsRefusedTheExchange)
{
    Exchange t({.role = "cashier"});
    t.host.branch().exec("update T_Pos_VipRecord set FAccNum=500 where FCardId='P3'");
    t.find("P3");
    t.tick("G002");
    const auto movements = t.host.branch().rows("select * from T_Pos_VipGiftList");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(),
              (std::vector<std::string>{"确定对会员[P3]的积分进行礼品兑换？", db::rightRefusal("hy0007")}));
    EXPECT_EQ(t.host.branch().rows("select * from T_Pos_VipGiftList"), movements);
    EXPECT_EQ(t.card("P3"), "500|0");
    EXPECT_EQ(t.host.branch().rows("select FDescription from t_OperLog"),
              std::vector<std::string>{"权限不足，拒绝【礼品兑换】（hy0007）：P3"});
}
