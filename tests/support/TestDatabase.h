#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Value.h"
#include "sql/Database.h"
#include "store/CardSeal.h"

namespace ormex::test {

// The key the tests seal cards with. A test database seals with it unless the test process
// already has a key: rows a test writes are the system's own.
const db::SealKey& testSealKey();
// Gives the test process the test key unless it has a key already.
void useTestSealKey();

// A fresh database file with the schema, in a temporary folder removed afterwards.
class TestDatabase
{
public:
    explicit TestDatabase(const std::string& fileName = "test.db");
    // A database in an existing folder, which stays when the database goes.
    TestDatabase(const std::string& folder, const std::string& fileName);
    ~TestDatabase();
    TestDatabase(const TestDatabase&) = delete;
    TestDatabase& operator=(const TestDatabase&) = delete;

    db::Database& db() { return *m_db; }
    const std::string& folder() const { return m_folder; }
    const std::string& path() const { return m_path; }

    // Native SQLite text, for setting up rows.
    void exec(const std::string& sql);
    // The first value of a query's first row (null when there is none).
    platform::Value scalar(const std::string& sql);
    // A card's stored-value balance as the screens read it: decoded from FResidualAmt.
    platform::Value decodedBalance(const std::string& card);
    // Every row of a query, each value as text, fields joined by "|".
    std::vector<std::string> rows(const std::string& sql);
    // A snapshot of every row of every table, to compare before and after.
    std::vector<std::string> dump();

private:
    std::string m_folder;
    bool m_ownsFolder = true;
    std::string m_path;
    std::unique_ptr<db::Database> m_db;
};

// A change made by another program (as the sqlite3 command would make it): a plain SQLite
// connection to the file, without the system's seal functions. Throws std::runtime_error.
void changeOutsideTheSystem(const std::string& path, const std::string& sql);

// Every row of a T-SQL query on either engine, each value as text, fields joined by "|".
std::vector<std::string> rowsOf(db::TsqlDatabase& db, const std::string& sql);

// Makes a temporary folder; the caller removes it.
std::string makeTempFolder();
void removeFolder(const std::string& folder);

} // namespace ormex::test
