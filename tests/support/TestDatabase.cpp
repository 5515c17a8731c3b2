#include "TestDatabase.h"
#include "platform/Text.h"

#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "store/Schema.h"

namespace ormex::test {

std::string makeTempFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "ormex-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary folder");
    return pattern;
}

void removeFolder(const std::string& folder)
{
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

const db::SealKey& testSealKey()
{
    static const db::SealKey key = [] {
        db::SealKey k;
        for (std::size_t i = 0; i < k.size(); ++i)
            k[i] = static_cast<unsigned char>(0x40 + i);
        return k;
    }();
    return key;
}

void useTestSealKey()
{
    if (!db::sealKey()) db::setSealKey(testSealKey());
}

namespace {

// Runs before the connection is opened, so that it seals.
std::string withTestKey(std::string path)
{
    useTestSealKey();
    return path;
}

} // namespace

TestDatabase::TestDatabase(const std::string& fileName)
    : m_folder(makeTempFolder()), m_path(withTestKey(m_folder + "/" + fileName)),
      m_db(db::Database::open(m_path, db::Database::OpenMode::Create))
{
    db::applySchema(*m_db);
    db::sealNativeUpdates(*m_db); // the rows a test changes natively stay sealed
}

TestDatabase::TestDatabase(const std::string& folder, const std::string& fileName)
    : m_folder(folder), m_ownsFolder(false), m_path(withTestKey(folder + "/" + fileName)),
      m_db(db::Database::open(m_path, db::Database::OpenMode::Create))
{
    db::applySchema(*m_db);
    db::sealNativeUpdates(*m_db); // the rows a test changes natively stay sealed
}

TestDatabase::~TestDatabase()
{
    m_db.reset();
    if (m_ownsFolder) removeFolder(m_folder);
}

void TestDatabase::exec(const std::string& sql)
{
    m_db->executeNative(sql);
}

platform::Value TestDatabase::scalar(const std::string& sql)
{
    auto rs = m_db->query(sql);
    return rs.atEnd() ? platform::Value() : rs.field(std::size_t{0});
}

platform::Value TestDatabase::decodedBalance(const std::string& card)
{
    return scalar("select dbo.f_decrypt(FResidualAmt) from T_Pos_VipRecord where FCardId=" +
                  platform::quoted(card));
}

std::vector<std::string> TestDatabase::rows(const std::string& sql)
{
    return rowsOf(*m_db, sql);
}

std::vector<std::string> rowsOf(db::TsqlDatabase& db, const std::string& sql)
{
    std::vector<std::string> out;
    auto rs = db.query(sql);
    for (; !rs.atEnd(); rs.moveNext()) {
        std::string row;
        for (std::size_t c = 0; c < rs.columns().size(); ++c) {
            if (c) row += '|';
            row += rs.field(c).toString();
        }
        out.push_back(row);
    }
    return out;
}

std::vector<std::string> TestDatabase::dump()
{
    std::vector<std::string> out;
    for (const auto& table : rows("select name from sqlite_master where type='table' and name not like "
                                  "'sqlite_%' order by name")) {
        out.push_back("# " + table);
        for (const auto& row : rows("select * from " + table + " order by 1"))
            out.push_back(row);
    }
    return out;
}

void changeOutsideTheSystem(const std::string& path, const std::string& sql)
{
    sqlite3* db = nullptr;
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) {
        sqlite3_close(db);
        throw std::runtime_error("cannot open " + path);
    }
    sqlite3_busy_timeout(db, 5000);
    char* error = nullptr;
    const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error);
    const std::string reason = error ? error : "";
    sqlite3_free(error);
    sqlite3_close(db);
    if (rc != SQLITE_OK) throw std::runtime_error("changing " + path + ": " + reason);
}

} // namespace ormex::test
