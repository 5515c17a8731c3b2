// The files of a benchmark's database.
#pragma once

#include <filesystem>
#include <system_error>

namespace ormex::bench {

// Removes a database with its WAL and shared-memory files, those that exist.
inline void removeDatabase(const std::filesystem::path& path)
{
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
    std::filesystem::remove(path.string() + "-wal", ignored);
    std::filesystem::remove(path.string() + "-shm", ignored);
}

} // namespace ormex::bench
