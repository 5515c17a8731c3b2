#pragma once

#include <string>

#include "sql/Database.h"

// Copies of SQLite database files, made with SQLite's online backup (page by page, in steps of
// kCopyPagesPerStep pages), and the temporary files a copy is made in before it takes its name.
// A file is only ever read through a connection of its own, never as bytes: a copy of a database
// that other connections are writing is the database as it stood at one moment.
namespace ormex::db {

// Pages copied by one step of the backup.
inline constexpr int kCopyPagesPerStep = 256;

// Copies the database `from` into the empty file `to`, as one snapshot: a read transaction of
// `from` is held over the whole copy, so a transaction that other connections commit meanwhile is
// either wholly in the copy or wholly out of it, and never makes the copy start again. Writers of
// `from` go on meanwhile (its journal is a write-ahead log). The copy is left in rollback-journal
// mode: one file that can be read without anything being written beside it. Returns the number of
// cards in the copy. Throws DbError (what `to` holds then is to be thrown away).
long copyDatabaseTo(Database& from, const std::string& to);

// Copies the database file `from`, read as an immutable file (nothing is written to it or beside
// it), into the empty file `to`. Throws DbError: OpenError when `from` is not a database.
void copyDatabaseFile(const std::string& from, const std::string& to);

// Replaces everything the database `to` holds with the database file `from` (read as immutable),
// in one write transaction of `to`: its other connections, in this process or another, see the
// database before or after, never a mixture, and their write-ahead log stays theirs. Waits for
// the other writers of `to` up to its busy timeout. Throws DbError (BusyError when they hold on),
// `to` unchanged.
void copyDatabaseInto(const std::string& from, Database& to);

// A new, empty file in the folder of `path`, named after it ("<path>.<purpose>-XXXXXX"), for a copy
// that is renamed into place once it is complete. Throws DbError.
std::string newFileBeside(const std::string& path, const std::string& purpose);

// Gives the complete file `temporary` the name `path`, unless a file has that name already (it is
// never replaced: DbError, `temporary` kept), and makes the new name durable. Throws DbError.
void publishFile(const std::string& temporary, const std::string& path);

// Removes a database file and the -wal, -shm and -journal files SQLite may have left beside it.
// Never throws.
void removeDatabaseFiles(const std::string& path);

} // namespace ormex::db
