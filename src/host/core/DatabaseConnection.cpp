#include "DatabaseConnection.h"

#include <stdexcept>

#include "CheckedBatch.h"

#include "db/SharedDatabases.h"
#include "platform/Text.h"

namespace ormex::host {

std::string DatabaseConnection::resolve(const std::string& connectionText) const
{
    std::string server, catalog;
    for (const auto& part : platform::split(connectionText, ';')) {
        const std::size_t eq = part.find('=');
        if (eq == std::string::npos) continue;
        const std::string key = platform::trim(part.substr(0, eq));
        const std::string value = platform::trim(part.substr(eq + 1));
        if (platform::iequals(key, "Data Source"))
            server = value;
        else if (platform::iequals(key, "Initial Catalog"))
            catalog = value;
    }
    if (!(platform::iequals(server, "(local)") || server == "." || platform::iequals(server, "localhost")))
        throw std::runtime_error("server '" + server + "' cannot be reached");
    if (catalog.empty() || catalog.find('/') != std::string::npos)
        throw std::runtime_error("no database named in the connection");
    return m_dataFolder + "/" + catalog + ".db";
}

void DatabaseConnection::open(const std::string& connectionText)
{
    m_db = &db::sharedDatabase(resolve(connectionText));
}

db::Database& DatabaseConnection::db()
{
    if (!m_db) throw std::runtime_error("the connection is not open");
    return *m_db;
}

void DatabaseConnection::execute(const std::string& batch)
{
    db().execute(batch);
}

void DatabaseConnection::executeChecked(const std::string& batch,
                                        const std::vector<platform::ReadCheck>& checks)
{
    host::executeChecked(db(), batch, checks);
}

platform::Recordset DatabaseConnection::openRecordset(const std::string& sql)
{
    return db().query(sql);
}

} // namespace ormex::host
