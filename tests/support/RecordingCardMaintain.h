#pragma once

#include <QCoreApplication>
#include <QThread>

#include <functional>
#include <string>
#include <vector>

#include "host/core/CardMaintain.h"
#include "platform/HostServices.h"

namespace ormex::test {

// The host's card object, keeping every batch handed to it; a test may look at the screen, or let
// another writer change the database, just before a batch runs.
class RecordingCardMaintain : public host::CardMaintain
{
public:
    struct Log
    {
        std::vector<std::string> batches;
        std::function<void()> beforeRun;
    };
    RecordingCardMaintain(std::string path, Log& log) : host::CardMaintain(std::move(path)), m_log(log) {}

    // Makes the host create recording card objects over its session database.
    static void install(const std::string& databasePath, Log& log)
    {
        platform::HostServices::instance().factory().registerClass(
            "OrmexMCardManage.MCMaintain",
            [databasePath, &log] { return std::make_shared<RecordingCardMaintain>(databasePath, log); });
    }
    void executeSql(const std::string& props, const std::string& sql) override
    {
        record(sql);
        host::CardMaintain::executeSql(props, sql);
    }
    void executeSqlChecked(const std::string& props, const std::string& sql,
                           const std::vector<platform::ReadCheck>& checks) override
    {
        record(sql);
        host::CardMaintain::executeSqlChecked(props, sql, checks);
    }

private:
    void record(const std::string& sql)
    {
        m_log.batches.push_back(sql);
        if (!m_log.beforeRun) return;
        // A screen may run its batch on a worker: the test's look at the screen happens on the
        // window's thread all the same, while the worker waits for it.
        QCoreApplication* app = QCoreApplication::instance();
        if (app && QThread::currentThread() != app->thread())
            QMetaObject::invokeMethod(app, m_log.beforeRun, Qt::BlockingQueuedConnection);
        else
            m_log.beforeRun();
    }
    Log& m_log;
};

} // namespace ormex::test
