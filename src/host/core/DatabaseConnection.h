#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/Connection.h"
#include "sql/TsqlDatabase.h"

// "ADODB.Connection": opens a database named by a connection text. The server "(local)" (also
// "." and "localhost") is the embedded default: the file <Initial Catalog>.db in the host's data
// folder. Any other server is a PostgreSQL server on that host ("host" or "host,port"), the
// database the catalog, with the connection's user and password. Opening never creates a database,
// and refuses one at another schema version than the build's (an older SQLite file is upgraded),
// telling the operator why once per process.
// Every call has the deadline the host's settings give: how long a server may stay silent (the
// file: how long another writer may keep it locked) before the call fails.
namespace ormex::host {

class DatabaseConnection : public platform::Connection
{
public:
    DatabaseConnection(std::string dataFolder, std::chrono::milliseconds deadline)
        : m_dataFolder(std::move(dataFolder)), m_deadline(deadline)
    {
    }

    void open(const std::string& connectionText) override;
    bool isOpen() const override { return m_db != nullptr; }
    void close() override { m_db = nullptr; }
    void execute(const std::string& batch) override;
    void executeChecked(const std::string& batch, const std::vector<platform::ReadCheck>& checks) override;
    platform::Recordset openRecordset(const std::string& sql) override;

    // The database a connection text names: the path of a file, or a postgresql:// URL. Throws
    // when it names no database.
    std::string resolve(const std::string& connectionText) const;

    // The database opened, for the host's own reading (reconciliation). Throws when not open.
    db::TsqlDatabase& database() { return db(); }

private:
    db::TsqlDatabase& db();
    std::string m_dataFolder;
    std::chrono::milliseconds m_deadline;
    db::TsqlDatabase* m_db = nullptr; // the process's shared connection to the database
};

} // namespace ormex::host
