#include "DemoData.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <sqlite3.h>

#include "DemoMovements.h"
#include "platform/BalanceCodec.h"
#include "platform/Clock.h"
#include "platform/Money.h"
#include "sql/SqliteStatement.h"

namespace ormex::db {

namespace {

using platform::Value;

// A small deterministic generator, so the demo is the same on every machine.
class Random
{
public:
    explicit Random(std::uint32_t seed) : m_state(seed) {}
    std::uint32_t next()
    {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 17;
        m_state ^= m_state << 5;
        return m_state;
    }
    int between(int low, int high)
    {
        return low + static_cast<int>(next() % static_cast<std::uint32_t>(high - low + 1));
    }

private:
    std::uint32_t m_state;
};

void insert(Database& db, const std::string& sql, const std::vector<Value>& values)
{
    SqliteStatement stmt(db.handle(), sql);
    for (std::size_t i = 0; i < values.size(); ++i)
        stmt.bind(static_cast<int>(i + 1), values[i]);
    stmt.step();
}

const std::array<const char*, 20> kSurnames = {"张", "王", "李", "赵", "刘", "陈", "杨", "黄", "周", "吴",
                                               "徐", "孙", "马", "朱", "胡", "郭", "何", "林", "高", "罗"};
const std::array<const char*, 20> kGivenNames = {"伟", "娜",   "敏", "静", "强", "磊", "洋",
                                                 "艳", "勇",   "军", "杰", "娟", "涛", "明",
                                                 "超", "秀英", "华", "平", "刚", "丽"};

struct CardType
{
    const char* id;
    const char* name;
    int saving;
    int points;
};
const std::array<CardType, 5> kCardTypes = {{{"01", "普通会员卡", 0, 1},
                                             {"02", "银卡", 1, 1},
                                             {"03", "金卡", 1, 1},
                                             {"04", "储值卡", 1, 0},
                                             {"05", "员工卡", 0, 1}}};

void seedSettings(Database& db, DemoRole role)
{
    const bool branch = role == DemoRole::Branch;
    for (const auto& [key, value] : kDemoMemberSettings)
        insert(db, "insert into t_SystemProfile (FCategory, FKey, FValue) values ('VIP', ?, ?)",
               {key, value});
    insert(db, "insert into t_SystemProfile (FCategory, FKey, FValue) values ('VIP', ?, ?)",
           {"PosSavingServerDb", "(local)/HQ/sa/ormex"});
    insert(db, "insert into t_SystemProfile (FCategory, FKey, FValue) values ('ic', 'g_branch_no', ?)",
           {branch ? kDemoBranchNum : kDemoHeadquartersNum});
    insert(db, "insert into t_SystemProfile (FCategory, FKey, FValue) values ('ic', 'is_branch', ?)",
           {branch ? "1" : "0"});
}

void seedCatalogues(Database& db)
{
    for (const auto& type : kCardTypes)
        insert(db,
               "insert into T_Pos_VipType (FTypeId, type_name, FSavingFlag, FAccFlag) values (?, ?, ?, ?)",
               {type.id, type.name, type.saving, type.points});
    // Silver converts at 5 percent per 100 points; gold by fixed amounts per 1000, 500 and 100.
    insert(db,
           "insert into T_Pos_VipPointToAmt (FTypeId, FAccNum, saving_amt, FZhRate) values ('02', 100, 0, 5)",
           {});
    insert(
        db,
        "insert into T_Pos_VipPointToAmt (FTypeId, FAccNum, saving_amt, FZhRate) values ('03', 1000, 120, 0)",
        {});
    insert(
        db,
        "insert into T_Pos_VipPointToAmt (FTypeId, FAccNum, saving_amt, FZhRate) values ('03', 500, 55, 0)",
        {});
    insert(
        db,
        "insert into T_Pos_VipPointToAmt (FTypeId, FAccNum, saving_amt, FZhRate) values ('03', 100, 10, 0)",
        {});

    const std::vector<std::pair<const char*, const char*>> stocks = {{"01", "一分店"},
                                                                     {"0101", "一分店礼品仓"},
                                                                     {"0102", "一分店百货仓"},
                                                                     {"0201", "二分店礼品仓"},
                                                                     {"00", "总部仓库"}};
    int id = 1;
    for (const auto& [number, name] : stocks)
        insert(db, "insert into t_stock (FItemID, FNumber, FName) values (?, ?, ?)", {id++, number, name});

    struct Goods
    {
        int id;
        const char* number;
        const char* barcode;
        const char* name;
        const char* unit;
        int aux;
    };
    const std::array<Goods, 8> goods = {{{101, "G001", "6901234500011", "保温杯", "个", 0},
                                         {102, "G002", "6901234500028", "雨伞", "把", 0},
                                         {103, "G003", "6901234500035", "纯棉T恤", "件", 1},
                                         {104, "G004", "6901234500042", "运动鞋", "双", 1},
                                         {105, "G005", "6901234500059", "食用油5L", "桶", 0},
                                         {106, "G006", "6901234500066", "大米10kg", "袋", 0},
                                         {107, "G007", "6901234500073", "购物袋", "个", 0},
                                         {108, "G008", "6901234500080", "电饭煲", "台", 0}}};
    for (const auto& g : goods)
        insert(db,
               "insert into t_Item (FItemID, FNumber, FBarCode, FName, FUnit, FIsAuxi) values (?, ?, ?, ?, "
               "?, ?)",
               {g.id, g.number, g.barcode, g.name, g.unit, g.aux});
    const std::vector<std::tuple<int, int, const char*, const char*>> aux = {{1, 103, "S", "小码"},
                                                                             {2, 103, "M", "中码"},
                                                                             {3, 103, "L", "大码"},
                                                                             {4, 104, "40", "40码"},
                                                                             {5, 104, "42", "42码"}};
    for (const auto& [auxId, item, number, name] : aux)
        insert(db,
               "insert into t_AuxProp (FAuxPropID, FItemID, FAuxPropNum, FAuxPropName) values (?, ?, ?, ?)",
               {auxId, item, number, name});

    const std::vector<std::tuple<int, const char*, const char*, int>> payments = {{1, "01", "现金", 0},
                                                                                  {2, "02", "银行卡", 0},
                                                                                  {3, "03", "支票", 0},
                                                                                  {4, "04", "微信支付", 0},
                                                                                  {5, "05", "旧储值券", 1}};
    for (const auto& [payId, number, name, deleted] : payments)
        insert(db, "insert into t_PayMethod (FItemID, FNumber, FName, FDeleted) values (?, ?, ?, ?)",
               {payId, number, name, deleted});

    const platform::Date today = platform::today();
    const std::string from = today.addDays(-30).toString(), to = today.addMonths(2).toString();
    const std::string oldFrom = today.addMonths(-6).toString(), oldTo = today.addDays(-1).toString();
    const std::vector<std::tuple<int, const char*, int, const char*, int, int, std::string, std::string>>
        gifts = {
            {101, "All", 2, "0101", 1, 300, from, to},      {102, "All", 2, "0101", 1, 150, from, to},
            {103, "03", 2, "0101", 1, 500, from, to},       {104, "02", 2, "0101", 1, 800, from, to},
            {107, "All", 2, "0101", 2, 40, from, to},       {105, "All", 3, "0102", 1, 250, from, to},
            {108, "03", 2, "0101", 1, 2000, from, to},      {106, "All", 2, "0101", 1, 200, oldFrom, oldTo},
            {101, "01", 2, "0101", 1, 350, oldFrom, oldTo},
        };
    for (const auto& [item, type, branchId, branchNo, count, points, begin, end] : gifts)
        insert(db,
               "insert into T_Pos_VipGift (FItemId, FCardType, FBranchID, FBranchNo, FItemNum, FVipNum, "
               "FBeginDate, FEndDate)"
               " values (?, ?, ?, ?, ?, ?, ?, ?)",
               {item, type, branchId, branchNo, count, points, begin, end});
}

struct DemoCard
{
    std::string id, flowNo, name, mobile, type, status, start, end, branchNo, operDate, sex, email;
    platform::Date issued;
    double acc = 0, dec = 0;
    platform::Money balance;
    int saving = 0, points = 1, deleted = 0;
};

std::vector<DemoCard> makeCards()
{
    Random rnd(20261123);
    const platform::Date today = platform::today();
    std::vector<DemoCard> cards;
    // Status of each card by its position: mostly normal, and every other status represented.
    const std::array<const char*, 20> statuses = {"0", "0", "0", "0", "0", "0", "0", "0", "0", "1",
                                                  "2", "3", "4", "9", "9", "0", "0", "0", "2", "1"};
    for (int i = 1; i <= 200; ++i) {
        DemoCard c;
        char id[16];
        std::snprintf(id, sizeof id, "8800%04d", i);
        c.id = id;
        c.flowNo = "F" + c.id.substr(2);
        c.name = std::string(kSurnames[static_cast<std::size_t>(rnd.between(0, 19))]) +
                 kGivenNames[static_cast<std::size_t>(rnd.between(0, 19))];
        c.mobile = "139" + std::to_string(10000000 + rnd.between(0, 89999999));
        const CardType& type = kCardTypes[static_cast<std::size_t>((i + i / 20) % 5)];
        c.type = type.id;
        c.saving = type.saving;
        c.points = type.points;
        c.status = statuses[static_cast<std::size_t>(i % 20)];
        c.issued = today.addDays(-rnd.between(30, 900));
        c.start = c.issued.toString();
        if (c.status == "1")
            c.end = today.addDays(-rnd.between(1, 200)).toString(); // expired
        else if (i % 17 == 0)
            c.end = today.toString(); // ends today
        else if (i % 23 == 0)
            c.end = today.addDays(-rnd.between(1, 30)).toString(); // past its end, not yet marked
        else
            c.end = today.addDays(rnd.between(30, 1000)).toString();
        c.branchNo = (i % 3 == 0) ? "02" : "01";
        c.operDate = c.start;
        c.sex = (i % 2) ? "男" : "女";
        c.email = "member" + std::to_string(i) + "@example.cn";
        if (c.status != "9") {
            c.acc = rnd.between(0, 40) * 50;
            c.dec = std::min(c.acc, static_cast<double>(rnd.between(0, 20) * 25));
        }
        if (c.saving && c.status != "9") c.balance = platform::Money::fromUnits(rnd.between(0, 200000) * 100);
        c.deleted = (i % 41 == 0) ? 1 : 0;
        cards.push_back(c);
    }
    // Two cards share one mobile number; one mobile belongs to an unused card only.
    cards[4].mobile = cards[5].mobile = "13900000001";
    cards[13].mobile = "13900000009";
    return cards;
}

void seedCards(Database& db)
{
    const std::vector<DemoCard> cards = makeCards();
    DemoMovements movements(db);
    SqliteStatement card(
        db.handle(),
        "insert into T_Pos_VipRecord (FCardId, FCardFlowno, FVipName, mobile, FCardType, FCardStatus,"
        " FVipStartDate, FVipEndDate, FAccNum, FDecNum, FResidualAmt, FPlusAmt, FSavingFlag, FAccFlag,"
        " FDeleted, password, FBranchno, FOperDate, FModifyDate, FUserName, FVipTax, limit_use, salesman,"
        " FVipSex, birthday, marriage, FVipTel, company, FVipEmail, FSocialId, FVipAdd, FVipZip,"
        " FSalaryLevel, degree, favor, memo, nation)"
        " values (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)");
    for (std::size_t k = 0; k < cards.size(); ++k) {
        const DemoCard& c = cards[k];
        const DemoHoldings holdings{static_cast<int>(k + 1), c.id,      c.type, c.branchNo, c.issued,
                                    c.saving != 0,           c.balance, c.acc,  c.dec};
        const std::string stored = c.saving ? platform::encodeBalance(c.balance.toString()) : "0";
        const std::vector<Value> values = {c.id,
                                           c.flowNo,
                                           c.name,
                                           c.mobile,
                                           c.type,
                                           c.status,
                                           c.start,
                                           c.end,
                                           c.acc,
                                           c.dec,
                                           stored,
                                           DemoMovements::issueAmount(holdings).toDouble(),
                                           c.saving,
                                           c.points,
                                           c.deleted,
                                           "123456",
                                           c.branchNo,
                                           c.operDate,
                                           c.operDate,
                                           "管理员",
                                           c.saving ? 100.0 : 0.0,
                                           0,
                                           "王销售",
                                           c.sex,
                                           "1985-0" + std::to_string(k % 9 + 1) + "-1" +
                                               std::to_string(k % 9),
                                           k % 2 ? "已婚" : "未婚",
                                           "0755-8888" + std::to_string(1000 + k),
                                           "华南商贸有限公司",
                                           c.email,
                                           "44030019850101" + std::to_string(1000 + k),
                                           "深圳市福田区深南大道" + std::to_string(k + 1) + "号",
                                           "518000",
                                           "中等",
                                           "本科",
                                           "购物",
                                           "",
                                           "汉族"};
        for (std::size_t i = 0; i < values.size(); ++i)
            card.bind(static_cast<int>(i + 1), values[i]);
        card.step();
        sqlite3_reset(card.handle());

        movements.write(holdings);
    }
}

void seedPendingApprovals(Database& db)
{
    const platform::Date today = platform::today();
    // Pending copies of some cards: a few unchanged, most with edited fields.
    struct Pending
    {
        int card;
        const char* name;
        const char* mobile;
        const char* email;
        const char* status;
        int daysAgo;
    };
    const std::array<Pending, 8> pending = {{{1, nullptr, nullptr, "new.mail@example.cn", nullptr, 0},
                                             {2, "李晓明", nullptr, nullptr, nullptr, 0},
                                             {3, nullptr, "13811112222", nullptr, nullptr, 0},
                                             {7, nullptr, nullptr, nullptr, nullptr, 0},
                                             {8, "周杰", "13822223333", "zhoujie@example.cn", nullptr, 1},
                                             {12, nullptr, nullptr, nullptr, "4", 2},
                                             {16, nullptr, nullptr, nullptr, nullptr, 5},
                                             {21, "赵丽颖", nullptr, nullptr, "0", 0}}};
    for (const auto& p : pending) {
        char id[16];
        std::snprintf(id, sizeof id, "8800%04d", p.card);
        std::string sql = "insert into T_Pos_VipRecordCheck (FFlowId, FCardId, FCardFlowno, FVipName, "
                          "mobile, FCardType, FCardStatus,"
                          " FVipStartDate, FVipEndDate, FBranchno, FOperDate, FModifyDate, FUserName, "
                          "FVipTax, limit_use, salesman, FVipSex,"
                          " birthday, marriage, FVipTel, company, FVipEmail, FSocialId, FVipAdd, FVipZip, "
                          "FSalaryLevel, degree, favor, memo, nation)"
                          " select FFlowId, FCardId, FCardFlowno, ifnull(?, FVipName), ifnull(?, mobile), "
                          "FCardType, ifnull(?, FCardStatus),"
                          " FVipStartDate, FVipEndDate, FBranchno, FOperDate, ?, FUserName, FVipTax, "
                          "limit_use, salesman, FVipSex, birthday,"
                          " marriage, FVipTel, company, ifnull(?, FVipEmail), FSocialId, FVipAdd, FVipZip, "
                          "FSalaryLevel, degree, favor, memo, nation"
                          " from T_Pos_VipRecord where FCardId = ?";
        insert(db, sql,
               {p.name ? Value(p.name) : Value(), p.mobile ? Value(p.mobile) : Value(),
                p.status ? Value(p.status) : Value(), today.addDays(-p.daysAgo).toString(),
                p.email ? Value(p.email) : Value(), std::string(id)});
    }
}

} // namespace

void seedDemo(Database& db, DemoRole role)
{
    Database::Transaction transaction(db);
    seedSettings(db, role);
    seedCatalogues(db);
    seedCards(db);
    if (role == DemoRole::Branch) seedPendingApprovals(db);
    transaction.commit();
}

} // namespace ormex::db
