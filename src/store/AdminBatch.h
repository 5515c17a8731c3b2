#pragma once

#include <string>
#include <string_view>

#include "sql/Database.h"
#include "sql/PgDatabase.h"

// The batches an administrator runs on a database (ormex-db run). Each runs in one transaction
// with a t_OperLog row that names who ran it and the SHA-256 of its text, so the log says who
// changed the database with exactly what: both are written, or neither.
namespace ormex::db {

// Who runs a batch, as its log row names them.
struct BatchAuthor
{
    int userId = 0;      // t_User.FUserID; 0 for a server account, which is no operator of the system
    std::string name;    // the operator ("admin（管理员）") or the server account
    std::string machine; // the program that ran it
};

// The SHA-256 of the bytes, as 64 lower-case hexadecimal digits (what sha256sum prints for the
// file). Throws DbError when the digest cannot be computed.
std::string sha256Hex(std::string_view bytes);

// The t_OperLog description of a batch from `source` (its file), with its digest.
std::string batchLogText(const std::string& source, const std::string& digest, const BatchAuthor& by);

// Runs the batch from `source` and writes its log row, in one transaction. Returns the batch's
// SHA-256. Throws what execute() throws: nothing written.
std::string runLoggedBatch(Database& db, std::string_view batch, const std::string& source,
                           const BatchAuthor& by);
// On a PostgreSQL server the transaction holds the whole database against the system's other
// writers, as a batch that could change anything does.
std::string runLoggedBatch(PgDatabase& db, std::string_view batch, const std::string& source,
                           const BatchAuthor& by);

} // namespace ormex::db
