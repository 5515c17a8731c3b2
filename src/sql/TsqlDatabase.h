#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "platform/BusinessObjects.h"
#include "platform/Recordset.h"

// A database that runs the system's T-SQL, whichever engine holds it: an SQLite file (Database)
// or a PostgreSQL server (PgDatabase). Callers that only read and write through the system's
// statements take this and work on either.
namespace ormex::db {

class TsqlDatabase
{
public:
    virtual ~TsqlDatabase() = default;

    // Runs one SELECT. Throws ParseError, BusyError or StatementError.
    virtual platform::Recordset query(std::string_view sql) = 0;

    // Parses the whole batch, then runs it in one transaction: all of it or none of it. Within a
    // write of the caller's (executeChecked) it is part of that write. Throws ParseError (nothing
    // ran), BusyError or StatementError (nothing written).
    virtual void execute(std::string_view batch) = 0;

    // A batch computed from values read earlier runs only while those values still stand: in one
    // transaction that first shuts out every other writer of what it changes, each check's query
    // must still give its value, then the batch runs. Throws platform::ChangedSinceReadError
    // (nothing written) when a check reads another value, or what execute() throws.
    virtual void executeChecked(std::string_view batch, const std::vector<platform::ReadCheck>& checks);

    // A write under way: rolled back when destroyed before commit(). What the connection runs
    // meanwhile is part of it.
    class Write
    {
    public:
        virtual ~Write() = default;
        virtual void commit() = 0;
    };
    // Begins a write that no other writer of the database can come between.
    virtual std::unique_ptr<Write> beginWrite() = 0;

protected:
    // Throws platform::ChangedSinceReadError when a check's query no longer gives its value.
    void checkReads(const std::vector<platform::ReadCheck>& checks);
};

} // namespace ormex::db
