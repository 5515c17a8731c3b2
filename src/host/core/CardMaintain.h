#pragma once

#include <memory>
#include <string>

#include "db/Database.h"
#include "platform/BusinessObjects.h"
#include "platform/Recordset.h"

// The host's card object: queries and batches on the session database, the numbered tables, and
// the card operations (password check, card change, card update).
namespace ormex::host {

// The SQL of a numbered table with an optional condition on its columns.
std::string tableInfoSql(int tableNo, const std::string& condition);

// The batch that writes a card's record (every field but FCardId, which names the card), then
// `followingBatch`.
std::string cardRecordBatch(const platform::FieldMap& record, const std::string& followingBatch);

// The batch that moves a card onto a new number: the new (unused) card takes over the holder and
// standing of `old` (the old card's row) with the type given, the old card is voided and emptied,
// and its points totals follow it.
std::string cardChangeBatch(const platform::Recordset& old, const std::string& oldNo,
                            const std::string& newNo, const std::string& type);

// Who the card operations are logged for: each writes a t_OperLog row naming its card in the
// same transaction as the change.
struct CardOperationLogger
{
    int userId = 0;
    std::string session;
    std::string branchNo;

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
