#include "AdminBatch.h"

#include <openssl/evp.h>

#include "OperLog.h"
#include "sql/DbError.h"

namespace ormex::db {

namespace {

std::string logStatement(std::string_view batch, const std::string& source, const BatchAuthor& by,
                         std::string& digest)
{
    digest = sha256Hex(batch);
    OperLogRow row;
    row.userId = by.userId;
    row.functionId = "RUNBATCH";
    row.type = 1;
    row.description = batchLogText(source, digest, by);
    row.machineName = by.machine;
    return operLogStatement(row);
}

} // namespace

std::string sha256Hex(std::string_view bytes)
{
    unsigned char hash[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), hash, &length, EVP_sha256(), nullptr) != 1)
        throw DbError("the SHA-256 of the batch cannot be computed");
    static constexpr char kHex[] = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < length; ++i) {
        text += kHex[hash[i] >> 4];
        text += kHex[hash[i] & 15];
    }
    return text;
}

std::string batchLogText(const std::string& source, const std::string& digest, const BatchAuthor& by)
{
    return "运行批处理【" + source + "】，SHA-256 " + digest + "；操作员：" + by.name;
}

std::string runLoggedBatch(Database& db, std::string_view batch, const std::string& source,
                           const BatchAuthor& by)
{
    std::string digest;
    const std::string log = logStatement(batch, source, by, digest);
    Database::Transaction transaction(db);
    db.execute(batch); // within the transaction: a savepoint of it
    db.execute(log);
    transaction.commit();
    return digest;
}

std::string runLoggedBatch(PgDatabase& db, std::string_view batch, const std::string& source,
                           const BatchAuthor& by)
{
    std::string digest;
    const std::string log = logStatement(batch, source, by, digest);
    db.runExclusive([&] {
        db.execute(batch);
        db.execute(log);
        return true;
    });
    return digest;
}

} // namespace ormex::db
