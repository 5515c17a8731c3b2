#include "TaskLock.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "SqlText.h"
#include "platform/Clock.h"
#include "platform/HostServices.h"
#include "platform/Text.h"
#include "sql/Database.h"
#include "store/Operators.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

namespace {

bool processAlive(long pid)
{
    return pid > 0 && (kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM);
}

// The start time of a process (field 22 of /proc/<pid>/stat), which tells a reused process id
// from the process that registered a task; "" when the process does not exist.
std::string processStartTime(const std::string& pid)
{
    std::ifstream stat("/proc/" + pid + "/stat");
    std::string field;
    for (int i = 1; stat >> field; ++i)
        if (i == 22) return field;
    return {};
}

std::string hostName()
{
    return platform::HostServices::instance().systemInfo().computerName().value_or("localhost");
}

} // namespace

std::string TaskLock::currentSession()
{
    const std::string pid = std::to_string(getpid());
    return hostName() + "/" + pid + "/" + processStartTime(pid);
}

TaskLock::TaskLock(std::string databasePath, std::string session, long processId, int userId)
    : m_path(std::move(databasePath)), m_session(std::move(session)), m_processId(processId),
      m_host(m_session.substr(0, m_session.find('/'))), m_userId(userId)
{
}

void TaskLock::reclaimDeadSessions(const std::string& condition)
{
    auto* db = &db::sharedDatabase(m_path);
    auto rs =
        db->query("select FTaskHandle, FSession, FProcessId, FMachine, FHeartbeat from t_NetTask where " +
                  condition + " and FSession<>" + quoted(m_session));
    const platform::DateTime now = platform::now();
    const platform::Date staleBefore = now.date.addDays(-1);
    std::string batch;
    for (; !rs.atEnd(); rs.moveNext()) {
        const std::string session = rs.field("FSession").toString();
        const bool sameHost = platform::startsWithNoCase(session, m_host + "/");
        bool dead = sameHost && !processAlive(rs.field("FProcessId").toInt());
        if (sameHost && !dead) {
            // The process id may have been reused: the session names the start of its process.
            const std::string pid = std::to_string(rs.field("FProcessId").toInt());
            const std::string start = processStartTime(pid);
            if (!start.empty() && session != m_host + "/" + pid + "/" + start) dead = true;
        }
        if (!dead) {
            const auto beat = platform::parseDateTime(rs.field("FHeartbeat").toString());
            if (!beat)
                dead = true;
            else {
                const long hours = platform::daysBetween(beat->date, now.date) * 24 + (now.hour - beat->hour);
                dead = hours >= kStaleHours || beat->date < staleBefore;
            }
        }
        if (dead)
            batch += "delete from t_NetTask where FTaskHandle=" + rs.field("FTaskHandle").toString() + "\r\n";
    }
    if (!batch.empty()) db->execute(batch);
}

std::string TaskLock::conflictWith(long taskNo, const std::string& code, const std::string& item)
{
    return "FTaskNo=" + std::to_string(taskNo) +
           (item.empty() ? " and FCode=" + quoted(code) : " and FItem=" + quoted(item));
}

void TaskLock::checkRight(const std::string& code, const std::string& machine, const platform::Value& item)
{
    auto& database = db::sharedDatabase(m_path);
    if (db::hasRight(database, m_userId, code)) return;
    db::logRefusedRight(database, m_userId, code, item.toString(), machine);
    throw platform::RightRefusedError(db::rightRefusal(code));
}

long TaskLock::taskexec(long taskNo, const std::string& code, const std::string& machine, int, int& out1,
                        int& out2, const platform::Value& item)
{
    out1 = out2 = 0;
    const std::string itemText = item.toString();
    if (!code.empty()) checkRight(code, machine, item);
    const std::string conflict = conflictWith(taskNo, code, itemText);
    reclaimDeadSessions(conflict);
    const std::string now = quoted(platform::now().toString());
    auto* db = &db::sharedDatabase(m_path);
    // The test and the registration run in one transaction, so two sessions cannot both pass.
    db->execute("update t_NetTask set FHeartbeat=" + now + " where FSession=" + quoted(m_session) + "\r\n" +
                "If Not Exists(select 1 from t_NetTask where " + conflict + " and FSession<>" +
                quoted(m_session) + ")\r\n" +
                " insert into t_NetTask (FTaskNo, FCode, FItem, FMachine, FUserID, FSession, FProcessId, "
                "FStartTime, FHeartbeat)"
                " select " +
                std::to_string(taskNo) + "," + quoted(code) + "," + quoted(itemText) + "," + quoted(machine) +
                "," + std::to_string(m_userId) + "," + quoted(m_session) + "," + std::to_string(m_processId) +
                "," + now + "," + now);
    const auto mine = db->query("select max(FTaskHandle) as h from t_NetTask where " + conflict +
                                " and FSession=" + quoted(m_session));
    const auto other = db->query("select count(*) as n from t_NetTask where " + conflict + " and FSession<>" +
                                 quoted(m_session));
    if (other.field("n").toInt() > 0) return 0;
    return static_cast<long>(mine.field("h").toInt());
}

std::optional<platform::TaskHolder> TaskLock::taskHolder(long taskNo, const std::string& code,
                                                         const platform::Value& item)
{
    auto& db = db::sharedDatabase(m_path);
    const auto holder = db.query(
        "select t.FMachine, t.FUserID, u.FName from t_NetTask t left join t_User u on u.FUserID=t.FUserID "
        "where t.FTaskHandle=(select min(FTaskHandle) from t_NetTask where " +
        conflictWith(taskNo, code, item.toString()) + " and FSession<>" + quoted(m_session) + ")");
    if (holder.atEnd()) return std::nullopt;
    std::string name = holder.field("FName").toString();
    if (name.empty()) name = holder.field("FUserID").toString();
    return platform::TaskHolder{name, holder.field("FMachine").toString()};
}

bool TaskLock::commitTask(long handle)
{
    auto* db = &db::sharedDatabase(m_path);
    db->execute("delete from t_NetTask where FTaskHandle=" + std::to_string(handle) +
                " and FSession=" + quoted(m_session));
    return true;
}

} // namespace ormex::host
