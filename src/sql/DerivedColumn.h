#pragma once

#include <string>
#include <string_view>
#include <vector>

// A column that the UPDATEs of one table keep computed from other columns of the row, in the same
// statement: when an UPDATE's SET clause writes any of `sources` (and not `column` itself), the
// parser adds
//     column = function(column, sources..., carried..., new sources..., carried...)
// where a source's new value is the expression assigned to it (or the column when it is not
// assigned), which SQLite evaluates on the row as it was. The layer that owns the table registers
// `function` on the connection; the engine only writes the call.
namespace ormex::db {

struct DerivedColumn
{
    std::string_view table;
    std::string_view column;
    std::string_view function;
    std::vector<std::string_view> sources;
    std::vector<std::string_view> carried; // passed as they stand, after each set of sources
};

// ",column=function(...)": the assignment an UPDATE adds, given each source's new value (an
// expression in parentheses, or the column's own name when it is not assigned), in `sources` order.
std::string derivedAssignment(const DerivedColumn& derived, const std::vector<std::string>& newSources);

} // namespace ormex::db
