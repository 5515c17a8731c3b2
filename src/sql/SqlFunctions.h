#pragma once

struct sqlite3;

// The functions the translated statements call: ormex_getdate() (the platform clock as
// "yyyy-mm-dd hh:mm:ss"), ormex_datediff_day(a, b) (whole days from date a to date b) and
// ormex_f_decrypt(text) (the stored balance decoded). Registered on every connection.
namespace ormex::db {

void registerSqlFunctions(sqlite3* db);

} // namespace ormex::db
