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

class CardMaintain : public platform::MCMaintain
{
public:
    explicit CardMaintain(std::string databasePath) : m_path(std::move(databasePath)) {}

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

private:
    db::Database& db();
    std::string m_path;
};

} // namespace ormex::host
