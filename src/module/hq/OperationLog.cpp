#include "OperationLog.h"

#include <cstdio>

#include "HqLink.h"
#include "module/frame/Session.h"
#include "platform/Clock.h"
#include "platform/HostServices.h"
#include "platform/Text.h"

namespace ormex::module::hq {

namespace {

const char* operationText(int code)
{
    switch (code) {
    case 0:
        return "]进行积分管理---积分冲减','";
    case 1:
        return "]进行积分管理---礼品兑换','";
    case 2:
        return "]进行储值管理---会员卡充值','";
    case 3:
        return "]进行储值管理---积分转储值','";
    case 4:
        return "]进行卡状态管理---修改密码','";
    case 5:
        return "]发卡---修改密码','";
    case 6:
        return "]换卡','";
    default:
        return nullptr;
    }
}

} // namespace

std::string LogRowStatement(int code)
{
    const char* text = operationText(code);
    if (!text) return {};
    const platform::DateTime now = platform::now();
    char date[32];
    std::snprintf(date, sizeof date, "%s %02d:%02d:00", now.date.toString().c_str(), now.hour, now.minute);
    return "INSERT INTO t_Log (FDate,FUserID,FFunctionID,FStatement,FDescription,FMachineName,FIPAddress)"
           " VALUES ('" +
           std::string(date) + "'," + std::to_string(frame::CurrentUserId()) + ",'MCM0001',5,'分店[" +
           frame::GetBranchNum() + text + platform::trim(frame::GetMachineName()) + "','" +
           platform::trim(frame::GetTcpAddress()) + "')";
}

void LogOnHQ(const std::string& statements, int code)
{
    try {
        if (!frame::IsHQLinkedBranch()) return;
        ExecOnHQ(statements + "\r\n" + LogRowStatement(code));
    } catch (const std::exception&) {
    }
}

void WriteLocalLog(const std::string& areaPrefix, const std::string& operation)
{
    auto log =
        platform::HostServices::instance().factory().createAs<platform::LogServer>("OrmexEBSBase.LogServer");
    log->writeLog(frame::GetPropsString(), "MCM0001", 1, areaPrefix + operation, frame::GetMachineName(),
                  frame::GetTcpAddress());
}

} // namespace ormex::module::hq
