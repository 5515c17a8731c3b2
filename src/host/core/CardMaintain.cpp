#include "CardMaintain.h"

#include <stdexcept>

#include "SqlText.h"
#include "platform/BalanceCodec.h"
#include "platform/Clock.h"
#include "platform/HostServices.h"
#include "platform/MoneyListAmount.h"
#include "platform/NumberText.h"
#include "platform/Text.h"
#include "store/CardSeal.h"
#include "store/OperLog.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

namespace {

// The holder's details and the card's standing, which a replacement card takes over. Its balance
// and points are moved apart (cardChangeBatch).
const char* const kTakenOver[] = {
    "FVipName",  "mobile",    "FVipSex",       "birthday",    "marriage",     "FVipTel", "company",
    "FVipEmail", "FSocialId", "FVipAdd",       "FVipZip",     "FSalaryLevel", "degree",  "favor",
    "memo",      "nation",    "FVipStartDate", "FVipEndDate", "password",     "FVipTax", "salesman"};

constexpr const char* kCrLf = "\r\n";
// The operation code of a card change (the card screen's 换卡).
constexpr int kCardChangeCode = 8;
// The points movements of a card change (platform/PointsMovement).
constexpr const char* kPointsOutFlag = "6";
constexpr const char* kPointsInFlag = "7";

// What a card holds, as a change moves it.
struct Held
{
    platform::Money balance;
    double accumulated = 0, used = 0;
    double left() const { return platform::roundTo(accumulated - used, 4); }
};

Held heldOf(const platform::Recordset& values, const std::string& card)
{
    if (values.atEnd()) throw std::runtime_error("读不到会员卡【" + card + "】的余额和积分，不能换卡！");
    const auto balance = platform::tryDecodeMoney(platform::trim(values.field("FResidualAmt").toString()));
    if (!balance) throw std::runtime_error("会员卡【" + card + "】的储值余额无法解码，不能换卡！");
    return {*balance, values.field("FAccNum").toDouble(), values.field("FDecNum").toDouble()};
}

std::string points(double value)
{
    return platform::formatNumber(platform::roundTo(value, 4));
}

std::string branchIdOf(const CardChange& change)
{
    return platform::trim(change.branchId).empty() ? "NULL" : platform::sqlNumber(change.branchId);
}

// A money-list row of a change: `amount` added to the card, which held `before`. Nothing was paid,
// and the row is replayed at headquarters with the change, so it is no part of the data exchange
// (FComFlag 1), as a recharge's row is not.
std::string moneyMove(const CardChange& change, const std::string& card, platform::Money amount,
                      platform::Money before, const char* memo)
{
    return std::string(kCrLf) +
           "insert T_Pos_AddMoneyList(FCardId,FPlusAmt,fuserid,FOperDate,FOldAmt,Fbranchid,FBranchno,other1,"
           "FPlusRealAmt,FResidualAmt,FBalanceStyle,FComFlag)" +
           kCrLf + "select " + quoted(card) + "," + amount.toString() + "," + std::to_string(change.userId) +
           "," + quoted(change.operDate) + "," + before.toString() + "," + branchIdOf(change) + "," +
           quoted(change.branchNo) + "," + quoted(memo) + ",0," + quoted((before + amount).toString()) +
           ",0,'1'";
}

// A points movement of a change, written as the points screen writes its movements; replayed with
// the change, so no part of the data exchange either.
std::string pointsMove(const CardChange& change, const std::string& card, const char* flag, double moved,
                       const char* memo)
{
    return std::string(kCrLf) +
           "insert into "
           "T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag,FItemNum,FVipNum,fuserid,FOperDate,"
           "memo,FComFlag)" +
           kCrLf + "select " + branchIdOf(change) + "," + quoted(change.branchNo) + "," + quoted(card) + "," +
           quoted(flag) + ",0," + points(moved) + "," + std::to_string(change.userId) + "," +
           quoted(change.operDate) + "," + quoted(memo) + ",1";
}

} // namespace

std::string CardOperationLogger::statement(const std::string& cardId, int operationCode,
                                           const std::string& operation) const
{
    const auto& system = platform::HostServices::instance().systemInfo();
    std::string address;
    if (system.readTcp(address) != 1) address.clear();
    return db::operLogStatement({userId, session, "MCM0001", operationCode, "会员卡管理---" + operation,
                                 platform::toUpperAscii(system.computerName().value_or("")), address, cardId,
                                 branchNo});
}

std::string cardOperationName(int operationCode, const platform::FieldMap& change)
{
    switch (operationCode) {
    case 4:
        return "挂失";
    case 5:
        return "恢复";
    case 6:
        return "作废";
    case 8:
        return "换卡";
    case 10:
        return "延期至" + change.text("FVipEndDate");
    case 11:
        return "设置密码";
    }
    return "修改会员卡资料";
}

std::string tableInfoSql(int tableNo, const std::string& condition)
{
    std::string base;
    switch (tableNo) {
    case platform::table::GiftCatalogue:
        base =
            "select g.FItemId as FItemID, i.FNumber, i.FBarCode, i.FName, i.FUnit, g.FItemNum,"
            " case when g.FCardType='All' then '' else t.type_name end as type_name, g.FVipNum, g.FBeginDate,"
            " g.FEndDate, s.FName as FStockName, g.FBranchID, g.FBranchNo, g.FCardType, i.FIsAuxi"
            " from T_Pos_VipGift g join t_Item i on i.FItemID=g.FItemId"
            " left join T_Pos_VipType t on t.FTypeId=g.FCardType left join t_stock s on "
            "s.FItemID=g.FBranchID";
        break;
    case platform::table::Goods:
        base = "select FItemID, FNumber, FBarCode, FName, FUnit, FIsAuxi, Fdetail, FDeleted from t_Item";
        break;
    case platform::table::Warehouses:
        base = "select FItemID, FNumber, FName from t_stock";
        break;
    case platform::table::AuxProps:
        base = "select a.FAuxPropID, a.FAuxPropNum, a.FAuxPropName, i.FItemID, i.FNumber, i.FName"
               " from t_AuxProp a join t_Item i on i.FItemID=a.FItemID";
        break;
    case platform::table::PaymentMethods:
        base = "select FItemID, FNumber, FName, FDeleted from t_PayMethod";
        break;
    case platform::table::CardTypes:
        base = "select FTypeId, type_name, FSavingFlag, FAccFlag from T_Pos_VipType";
        break;
    default:
        throw std::invalid_argument("no table " + std::to_string(tableNo));
    }
    std::string sql = "select * from (" + base + ") v";
    if (!platform::trim(condition).empty()) sql += " where " + condition;
    return sql;
}

db::Database& CardMaintain::db()
{
    return db::sharedDatabase(m_path);
}

platform::Recordset CardMaintain::execQuery(const std::string& sql)
{
    return db().query(sql);
}

void CardMaintain::executeSql(const std::string&, const std::string& sql)
{
    db().execute(sql);
}

void CardMaintain::executeSqlChecked(const std::string&, const std::string& sql,
                                     const std::vector<platform::ReadCheck>& checks)
{
    db().executeChecked(sql, checks);
}

platform::Recordset CardMaintain::getTableInfo(int tableNo, const std::string& condition, bool)
{
    return db().query(tableInfoSql(tableNo, condition));
}

bool CardMaintain::checkPassword(const platform::Value& item, const std::string& password)
{
    // The password arrives with its quotes already doubled.
    const auto rs =
        db().query("select count(*) as n from T_Pos_VipRecord where FCardId=" + quoted(item.toString()) +
                   " and isnull(password,'')='" + password + "'");
    return rs.field("n").toInt() > 0;
}

bool CardMaintain::checkCardExist(const std::string& cardNo, const std::string& condition)
{
    std::string sql = "select count(*) as n from T_Pos_VipRecord where FCardId=" + quoted(cardNo);
    if (!platform::trim(condition).empty()) sql += " and (" + condition + ")";
    return db().query(sql).field("n").toInt() > 0;
}

bool CardMaintain::checkCardTypeEqual(const std::string& cardNo, platform::Value& typeId)
{
    const auto rs = db().query("select FCardType from T_Pos_VipRecord where FCardId=" + quoted(cardNo));
    return !rs.atEnd() && platform::iequals(platform::trim(rs.field("FCardType").toString()),
                                            platform::trim(typeId.toString()));
}

std::string CardMaintain::getCardTypeName(const std::string& cardNo)
{
    const auto rs =
        db().query("select t.type_name from T_Pos_VipRecord r join T_Pos_VipType t on t.FTypeId=r.FCardType"
                   " where r.FCardId=" +
                   quoted(cardNo));
    return rs.atEnd() ? std::string() : rs.field("type_name").toString();
}

long CardMaintain::changeMemberCard(platform::Value& oldKey, platform::Value& oldKey2, std::string& newCardNo,
                                    platform::Value& newType)
{
    return changeMemberCard(oldKey, oldKey2, newCardNo, newType, {});
}

long CardMaintain::changeMemberCard(platform::Value& oldKey, platform::Value&, std::string& newCardNo,
                                    platform::Value& newType, const platform::CardChangeLink& link)
{
    const std::string oldNo = oldKey.toString();
    const auto old =
        db().query("select * from T_Pos_VipRecord where FCardId=" + quoted(oldNo) + " and FDeleted=0");
    if (old.atEnd()) return 0;
    const std::string type = newType.toString();
    const auto queued = [&link](const std::string& statements, const std::vector<platform::ReadCheck>& checks,
                                const std::vector<std::string>& cards) {
        const std::string queue = link.queue ? link.queue(statements, checks, cards) : std::string();
        return queue.empty() ? queue : kCrLf + queue;
    };
    if (newCardNo == oldNo) {
        if (db().query("select count(*) as n from T_Pos_VipType where FTypeId=" + quoted(type))
                .field("n")
                .toInt() == 0)
            return 0;
        const std::string update =
            "update T_Pos_VipRecord set FCardType=" + quoted(type) + " where FCardId=" + quoted(oldNo);
        db().execute(update + kCrLf + m_logger.statement(oldNo, kCardChangeCode, "更换卡类别：" + type) +
                     queued(update, {}, {oldNo}));
        return 1;
    }
    // The new card must be an unused card of this database.
    if (db().query("select count(*) as n from T_Pos_VipRecord where FCardId=" + quoted(newCardNo) +
                   " and FCardStatus='9' and FDeleted=0")
            .field("n")
            .toInt() == 0)
        return 0;
    const auto readValues = [&](const std::string& card) {
        const std::string sql = cardValuesSql(card);
        return link.readValues ? link.readValues(sql) : db().query(sql);
    };
    const CardChange change{oldNo,
                            newCardNo,
                            type,
                            old,
                            readValues(oldNo),
                            readValues(newCardNo),
                            m_logger.userId,
                            m_logger.branchId,
                            m_logger.branchNo,
                            platform::now().toString()};
    const std::string batch = cardChangeBatch(change);
    // The batch writes the values it read: here only while they stand here, and at headquarters
    // (in a linked branch, where they were read) only while they stand there.
    const std::vector<platform::ReadCheck> values = cardValueChecks(change);
    const std::vector<platform::ReadCheck> standing = cardStandingChecks(change);
    std::vector<platform::ReadCheck> local = standing, remote = values;
    if (!link.readValues) local.insert(local.end(), values.begin(), values.end());
    remote.insert(remote.end(), standing.begin(), standing.end());
    db().executeChecked(batch + kCrLf +
                            m_logger.statement(oldNo, kCardChangeCode, "换卡：更换成" + newCardNo) + kCrLf +
                            m_logger.statement(newCardNo, kCardChangeCode, "换卡：由" + oldNo + "换入") +
                            queued(batch, remote, {oldNo, newCardNo}),
                        local);
    return 1;
}

bool CardMaintain::updateMCInfo(platform::FieldMap& record, int mode, int& operationCode)
{
    return updateMCInfo(record, mode, operationCode, {});
}

bool CardMaintain::updateMCInfo(platform::FieldMap& record, int, int& operationCode,
                                const std::string& followingBatch)
{
    const std::string cardNo = record.text("FCardId");
    if (cardNo.empty()) return false;
    // A card deleted since the screen found it is not written.
    if (db().query("select count(*) as n from T_Pos_VipRecord where FCardId=" + quoted(cardNo) +
                   " and FDeleted=0")
            .field("n")
            .toInt() == 0)
        return false;
    std::string logged = m_logger.statement(cardNo, operationCode, cardOperationName(operationCode, record));
    if (!followingBatch.empty()) logged += kCrLf + followingBatch;
    db().execute(cardRecordBatch(record, logged));
    return true;
}

std::vector<std::string> CardMaintain::cardsChangedOutside(const std::vector<std::string>& cards)
{
    const auto& key = db::sealKey();
    if (!key || cards.empty()) return {};
    std::vector<std::string> changed;
    for (const db::SealMismatch& card : db::sealMismatches(db(), *key, cards))
        changed.push_back(card.card);
    return changed;
}

std::string cardRecordBatch(const platform::FieldMap& record, const std::string& followingBatch)
{
    std::string assignments;
    for (const auto& [column, value] : record) {
        if (platform::iequals(column, "FCardId")) continue;
        if (!assignments.empty()) assignments += ",";
        const bool textColumn = platform::iequals(column, "FCardStatus");
        assignments += column + "=" + (textColumn ? quoted(value.toString()) : literal(value));
    }
    std::string batch;
    if (!assignments.empty())
        batch =
            "update T_Pos_VipRecord set " + assignments + " where FCardId=" + quoted(record.text("FCardId"));
    if (!followingBatch.empty()) batch += "\r\n" + followingBatch;
    return batch;
}

std::string cardValuesSql(const std::string& card)
{
    return "select FResidualAmt, FAccNum, FDecNum from T_Pos_VipRecord where FCardId=" + quoted(card);
}

// The new card keeps what it held and receives what the old card held on top of it: whatever sold
// or loaded an unused card with a balance or points stays on it, and the two movements of each kind
// are equal and opposite, so a change never makes or loses money or points.
std::string cardChangeBatch(const CardChange& change)
{
    const Held old = heldOf(change.oldValues, change.oldNo);
    const Held fresh = heldOf(change.newValues, change.newNo);
    const platform::Money balance = fresh.balance + old.balance;
    if (!balance.inRange())
        throw std::runtime_error("会员卡【" + change.newNo + "】换卡后的储值余额超出范围，不能换卡！");

    std::string assignments;
    for (const char* column : kTakenOver)
        assignments += std::string(column) + "=" + literal(change.oldRow.field(column)) + ",";
    std::string batch =
        "update T_Pos_VipRecord set " + assignments +
        "FAccNum=" + points(fresh.accumulated + old.accumulated) +
        ",FDecNum=" + points(fresh.used + old.used) +
        ",FResidualAmt=" + quoted(platform::encodeBalance(balance)) + ",FCardType=" + quoted(change.type) +
        ",FCardStatus='0' where FCardId=" + quoted(change.newNo) + kCrLf +
        "update T_Pos_VipRecord set FCardStatus='3',FAccNum=0,FDecNum=0,FResidualAmt='0' where "
        "FCardId=" +
        quoted(change.oldNo) + kCrLf + "update T_Pos_VipConsume set FCardId=" + quoted(change.newNo) +
        " where FCardId=" + quoted(change.oldNo);
    if (!old.balance.isZero()) {
        batch += moneyMove(change, change.oldNo, -old.balance, old.balance, platform::kCardChangeOutMemo);
        batch += moneyMove(change, change.newNo, old.balance, fresh.balance, platform::kCardChangeInMemo);
    }
    if (old.left() != 0) {
        batch += pointsMove(change, change.oldNo, kPointsOutFlag, old.left(), platform::kCardChangeOutMemo);
        batch += pointsMove(change, change.newNo, kPointsInFlag, old.left(), platform::kCardChangeInMemo);
    }
    return batch;
}

std::vector<platform::ReadCheck> cardValueChecks(const CardChange& change)
{
    std::vector<platform::ReadCheck> checks;
    for (const auto& [card, values] :
         {std::pair(&change.oldNo, &change.oldValues), std::pair(&change.newNo, &change.newValues)})
        for (const char* field : {"FResidualAmt", "FAccNum", "FDecNum"})
            checks.push_back(
                {cardValuesSql(*card), field, values->atEnd() ? platform::Value() : values->field(field)});
    return checks;
}

std::vector<platform::ReadCheck> cardStandingChecks(const CardChange& change)
{
    return {
        {"select FDeleted from T_Pos_VipRecord where FCardId=" + quoted(change.oldNo), "FDeleted",
         platform::Value(0)},
        {"select FCardStatus from T_Pos_VipRecord where FCardId=" + quoted(change.newNo) + " and FDeleted=0",
         "FCardStatus", platform::Value("9")}};
}

} // namespace ormex::host
