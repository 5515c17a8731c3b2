#pragma once

#include <memory>
#include <string>

#include "platform/Recordset.h"
#include "platform/Value.h"

struct pg_conn;
struct pg_result;

// What a PostgreSQL result means to the layer: its rows as a Recordset, its values as Values, and
// its failure as the layer's typed errors.
namespace ormex::db {

struct PgResultFree
{
    void operator()(pg_result* result) const;
};
using PgResultPtr = std::unique_ptr<pg_result, PgResultFree>;

// True for a result with rows or a finished command.
bool succeeded(const pg_result* result);

// Does nothing for a result with rows or a finished command. Otherwise throws ParseError for text
// the server could not parse, BusyError for a lock waited for too long, ConflictError for a
// deadlock or a serialization failure (nothing of the transaction stands), StatementError naming
// the statement for anything else (also a lost connection).
void throwIfFailed(const pg_result* result, pg_conn* conn, int line, const std::string& statement);

platform::Recordset recordsetOf(const pg_result* result);
// The first value of the first row; null without rows.
platform::Value firstValue(const pg_result* result);

// The server's message without the line break libpq ends it with.
std::string trimmedMessage(const char* message);

} // namespace ormex::db
