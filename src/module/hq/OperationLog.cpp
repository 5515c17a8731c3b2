#include "OperationLog.h"

#include <cstdio>

#include "module/frame/Gateway.h"
#include "module/frame/Session.h"
#include "platform/Clock.h"
#include "platform/Text.h"

namespace ormex::module::hq {

namespace {

const char* operationText(HQOperation operation)
{
    switch (operation) {
    case HQOperation::PointsDeduction:
        return "]进行积分管理---积分冲减";
    case HQOperation::GiftExchange:
        return "]进行积分管理---礼品兑换";
    case HQOperation::Recharge:
        return "]进行储值管理---会员卡充值";
    case HQOperation::PointsToStoredValue:
        return "]进行储值管理---积分转储值";
    case HQOperation::CardStatus:
        return "]进行卡状态管理---修改密码";
    case HQOperation::PasswordChange:
        return "]发卡---修改密码";
    case HQOperation::CardChange:
        return "]换卡";
    }
    return nullptr;
}

} // namespace

std::string LogRowStatement(HQOperation operation)
{
    const char* text = operationText(operation);
    if (!text) return {};
    const platform::DateTime now = platform::now();
    char date[32];
    std::snprintf(date, sizeof date, "%s %02d:%02d:00", now.date.toString().c_str(), now.hour, now.minute);
    return "INSERT INTO t_Log (FDate,FUserID,FFunctionID,FStatement,FDescription,FMachineName,FIPAddress)"
           " VALUES (" +
           platform::quoted(date) + "," + std::to_string(frame::CurrentUserId()) + ",'MCM0001',5," +
           platform::quoted("分店[" + frame::GetBranchNum() + text) + "," +
           platform::quoted(platform::trim(frame::GetMachineName())) + "," +
           platform::quoted(platform::trim(frame::GetTcpAddress())) + ")";
}

void WriteLocalLog(const std::string& areaPrefix, const std::string& operation)
{
    frame::LogServerObject()->writeLog(frame::GetPropsString(), "MCM0001", 1, areaPrefix + operation,
                                       frame::GetMachineName(), frame::GetTcpAddress());
}

} // namespace ormex::module::hq
