#include "HqLink.h"

#include "module/frame/Gateway.h"
#include "module/frame/LogCategories.h"
#include "module/frame/Session.h"
#include "platform/Text.h"

namespace ormex::module::hq {

namespace {

std::string& keptText()
{
    static std::string text;
    return text;
}

} // namespace

std::string BuildHQConnectionText()
{
    const std::string value =
        frame::GetFieldValue(
            "select IsNull(FValue,'') as FValue from t_systemprofile where FCategory='VIP' and "
            "FKey='PosSavingServerDb'",
            "FValue")
            .toString();
    keptText().clear();
    const auto fields = platform::split(value, '/');
    if (fields.size() >= 4)
        keptText() = "Provider=SQLOLEDB.1;User ID=" + fields[2] + ";Password=" + fields[3] +
                     ";Data Source=" + fields[0] + ";Initial Catalog=" + fields[1];
    return keptText();
}

const std::string& HQConnectionText()
{
    if (keptText().empty()) BuildHQConnectionText();
    return keptText();
}

void ResetHQConnectionText()
{
    keptText().clear();
}

std::shared_ptr<platform::Connection> OpenHQ()
{
    try {
        const std::string text = HQConnectionText();
        auto connection = frame::NewConnection();
        connection->open(text);
        return connection->isOpen() ? connection : nullptr;
    } catch (const std::exception& error) {
        qCWarning(lcHq, "opening headquarters failed: %s", error.what());
        return nullptr;
    }
}

bool ConnHQ()
{
    try {
        auto connection = OpenHQ();
        if (!connection) return false;
        connection->close();
        return true;
    } catch (...) {
        qCWarning(lcHq, "closing the connection to headquarters failed with an unknown exception");
        return false;
    }
}

std::string HQOfflineMessage(HQOperation operation)
{
    switch (operation) {
    case HQOperation::PointsDeduction:
        return "检测到未联上总部数据库，请联网后再冲减积分！";
    case HQOperation::GiftExchange:
        return "礼品兑换需与总部联网，请联网后再兑换！";
    case HQOperation::Recharge:
        return "充值需与总部联网，请联网后再充值！";
    case HQOperation::PointsToStoredValue:
        return "积分转储值需与总部联网，请联网后再转！";
    case HQOperation::CardStatus:
        return "卡状态操作要求与总部联网，请先联网！";
    case HQOperation::PasswordChange:
        return "修改密码需要与总部联网，请先联网！";
    case HQOperation::CardChange:
        return "换卡必须先联网，请先联网！";
    }
    return {};
}

bool CheckHQOnline(HQOperation operation)
{
    if (!frame::IsHQLinkedBranch()) return true;
    if (ConnHQ()) return true;
    const std::string message = HQOfflineMessage(operation);
    if (!message.empty()) frame::Messages().message(message, "提示", platform::MessageIcon::Information);
    return false;
}

void ExecOnHQ(const std::string& batch)
{
    try {
        if (auto connection = OpenHQ()) {
            connection->execute(batch);
            connection->close();
        }
    } catch (const std::exception& error) {
        // Headquarters applies what it can; the local change stands either way. The batch is not
        // logged: it may carry a card's password.
        qCWarning(lcHq, "a change at headquarters failed: %s", error.what());
    }
}

void ExecOnHQ(const std::string& batch, const std::vector<platform::ReadCheck>& checks)
{
    try {
        if (auto connection = OpenHQ()) {
            connection->executeChecked(batch, checks);
            connection->close();
        }
    } catch (const std::exception& error) {
        // As ExecOnHQ: the local change stands either way.
        qCWarning(lcHq, "a checked change at headquarters failed: %s", error.what());
    }
}

bool HQChecksHold(const std::vector<platform::ReadCheck>& checks)
{
    if (!frame::IsHQLinkedBranch() || checks.empty()) return true;
    try {
        auto connection = OpenHQ();
        if (!connection) return false;
        for (const platform::ReadCheck& check : checks) {
            const auto rs = connection->openRecordset(check.sql);
            if (!platform::sameReadValue(rs.atEnd() ? platform::Value("") : rs.field(check.field),
                                         check.expected))
                return false;
        }
        connection->close();
        return true;
    } catch (const std::exception& error) {
        qCWarning(lcHq, "checking values read at headquarters failed: %s", error.what());
        return false;
    }
}

platform::Value HQGetFieldValue(const std::string& sql, const std::string& field)
{
    try {
        if (auto connection = OpenHQ()) {
            const auto rs = connection->openRecordset(sql);
            connection->close();
            return rs.atEnd() ? platform::Value("") : rs.field(field);
        }
    } catch (const std::exception& error) {
        qCWarning(lcHq, "reading %s at headquarters failed (%s): %s", field.c_str(), sql.c_str(),
                  error.what());
    }
    return platform::Value("");
}

bool HQHasRows(const std::string& sql)
{
    try {
        if (auto connection = OpenHQ()) {
            const auto rs = connection->openRecordset(sql);
            connection->close();
            return !rs.atEnd();
        }
    } catch (const std::exception& error) {
        qCWarning(lcHq, "a query at headquarters failed (%s): %s", sql.c_str(), error.what());
    }
    return false;
}

bool HQHasRowsIfLinked(const std::string& sql)
{
    if (!frame::IsHQLinkedBranch()) return true;
    return HQHasRows(sql);
}

platform::RecordList HQQueryToList(const std::string& sql)
{
    platform::RecordList list;
    try {
        if (auto connection = OpenHQ()) {
            const auto rs = connection->openRecordset(sql);
            connection->close();
            for (std::size_t r = 0; r < rs.recordCount(); ++r) {
                platform::FieldMap map;
                for (std::size_t c = 0; c < rs.columns().size(); ++c)
                    map.set(rs.columns()[c], platform::trim(rs.cell(r, c).toString()));
                list.push_back(std::move(map));
            }
        }
    } catch (const std::exception& error) {
        qCWarning(lcHq, "a query at headquarters failed (%s): %s", sql.c_str(), error.what());
        list.clear();
    }
    return list;
}

platform::Recordset HQOpenRecordset(const std::string& sql, std::shared_ptr<platform::Connection>& connection)
{
    try {
        connection = OpenHQ();
        if (connection) return connection->openRecordset(sql);
    } catch (const std::exception& error) {
        qCWarning(lcHq, "a query at headquarters failed (%s): %s", sql.c_str(), error.what());
    }

    return {};
}

} // namespace ormex::module::hq
