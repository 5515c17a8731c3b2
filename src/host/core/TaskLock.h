#pragma once

#include <string>

#include "platform/BusinessObjects.h"

// The network task lock: every operator session on a database registers the card operation it
// is running in t_NetTask, so that the sessions of all processes and machines see each other.
//
// Two tasks conflict when they have the same task number and the same item (for the card
// operations, the card) and belong to different sessions: two operators never change one card
// at the same time, while operations on different cards go on side by side. A task registered
// without an item conflicts with any task of the same number and rights code. A session may
// register again what it already holds.
//
// A task registered with a rights code is refused, with a log row, when the session's user lacks
// the right (RightRefusedError); checkRight refuses the same way without registering anything.
//
// A task left by a session that died never blocks for long: a session of this machine whose
// process no longer exists is reclaimed at once, and a task whose session has not been heard of
// for kStaleHours hours (a machine that went down) is reclaimed as well.
namespace ormex::host {

class TaskLock : public platform::LoginObject
{
public:
    static constexpr int kStaleHours = 8;

    // `session` is "<host>/<process id>/<process start>", as currentSession() makes it.
    TaskLock(std::string databasePath, std::string session, long processId, int userId);

    long taskexec(long taskNo, const std::string& code, const std::string& machine, int mode, int& out1,
                  int& out2, const platform::Value& item) override;
    bool commitTask(long handle) override;
    // The holder's name is the user's name in t_User, or the user number when t_User has none.
    std::optional<platform::TaskHolder> taskHolder(long taskNo, const std::string& code,
                                                   const platform::Value& item) override;
    void checkRight(const std::string& code, const std::string& machine,
                    const platform::Value& item) override;

    // The identity of this process's session: host, process id and the process's start.
    static std::string currentSession();

private:
    // The tasks a registration of (taskNo, code, item) conflicts with, as a condition on t_NetTask.
    static std::string conflictWith(long taskNo, const std::string& code, const std::string& item);
    void reclaimDeadSessions(const std::string& condition);

    std::string m_path;
    std::string m_session;
    long m_processId;
    std::string m_host;
    int m_userId;
};

} // namespace ormex::host
