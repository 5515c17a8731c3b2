// Comparing the executor's database with the floor's after a run.
#pragma once

#include <filesystem>
#include <string>

namespace ormex::bench {

// A description of the first difference between the executor's database and the floor's, or
// nothing when they hold the same rows: the totals of every table the shapes change and, with
// `rowByRow`, their rows.
std::string compare(const std::filesystem::path& executed, const std::filesystem::path& floor, bool rowByRow);

} // namespace ormex::bench
