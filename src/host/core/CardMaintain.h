#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/BusinessObjects.h"
#include "platform/Recordset.h"
#include "sql/Database.h"

// The host's card object: queries and batches on the session database, the numbered tables, and
// the card operations (password check, card change, card update).
namespace ormex::host {

// The SQL of a numbered table with an optional condition on its columns.
std::string tableInfoSql(int tableNo, const std::string& condition);

// The batch that writes a card's record (every field but FCardId, which names the card), then
// `followingBatch`.
std::string cardRecordBatch(const platform::FieldMap& record, const std::string& followingBatch);

// A card moved onto a new number, as read before it is written.
struct CardChange
{
    std::string oldNo, newNo, type;
    platform::Recordset oldRow; // every column of the old card: its holder and standing
    // Each card's balance and points (cardValuesSql), read where they are kept.
    platform::Recordset oldValues, newValues;
    // Who makes the change, where and when, as its movement rows record it.
    int userId = 0;
    std::string branchId, branchNo, operDate;
};

// The read of a card's stored balance and points totals that a change is computed from.
std::string cardValuesSql(const std::string& card);

// The batch that moves a card onto a new number: the new (unused) card takes over the holder and
// standing of the old one with the type given, the old card is voided and emptied, its points
// totals follow it, and the balance and points moved are written as movements of both cards. The
// new card keeps what it held and receives the old card's balance and points on top of it.
// Throws std::runtime_error when a card's balance does not decode (the amount moved is unknown).
std::string cardChangeBatch(const CardChange& change);

// The values the batch was computed from: each card's balance and points totals as read.
std::vector<platform::ReadCheck> cardValueChecks(const CardChange& change);
// The cards are still what the change needs: the old card not deleted, the new one unused.
std::vector<platform::ReadCheck> cardStandingChecks(const CardChange& change);

// Who the card operations are logged for: each writes a t_OperLog row naming its card in the
// same transaction as the change.
struct CardOperationLogger
{
    int userId = 0;
    std::string session;
    std::string branchNo;
    std::string branchId; // the branch's number as the movement rows record it (Fbranchid)

    // The t_OperLog row of an operation on a card ("会员卡管理---" and the operation).
    std::string statement(const std::string& cardId, int operationCode, const std::string& operation) const;
};

// What a card operation is called in the log, by the operation code the card screen hands over.
std::string cardOperationName(int operationCode, const platform::FieldMap& change);

class CardMaintain : public platform::MCMaintain
{
public:
    explicit CardMaintain(std::string databasePath, CardOperationLogger logger = {})
        : m_path(std::move(databasePath)), m_logger(std::move(logger))
    {
    }

    platform::Recordset execQuery(const std::string& sql) override;
    void executeSql(const std::string& propsString, const std::string& sql) override;
    void executeSqlChecked(const std::string& propsString, const std::string& sql,
                           const std::vector<platform::ReadCheck>& checks) override;
    platform::Recordset getTableInfo(int tableNo, const std::string& condition, bool flag) override;
    bool checkPassword(const platform::Value& item, const std::string& password) override;
    bool checkCardExist(const std::string& cardNo, const std::string& condition) override;
    bool checkCardTypeEqual(const std::string& cardNo, platform::Value& typeId) override;
    std::string getCardTypeName(const std::string& cardNo) override;
    long changeMemberCard(platform::Value& oldKey, platform::Value& oldKey2, std::string& newCardNo,
                          platform::Value& newType) override;
    long changeMemberCard(platform::Value& oldKey, platform::Value& oldKey2, std::string& newCardNo,
                          platform::Value& newType, const platform::CardChangeLink& link) override;
    bool updateMCInfo(platform::FieldMap& record, int mode, int& operationCode) override;
    bool updateMCInfo(platform::FieldMap& record, int mode, int& operationCode,
                      const std::string& followingBatch) override;
    std::vector<std::string> cardsChangedOutside(const std::vector<std::string>& cards) override;

private:
    db::Database& db();
    std::string m_path;
    CardOperationLogger m_logger;
};

} // namespace ormex::host
