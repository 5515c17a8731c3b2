#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "FieldMap.h"
#include "RecordList.h"
#include "Value.h"

// The rows a query returned, with a cursor: at-end, move next, record count, fields by name
// without regard to case. Rows are held in memory; a recordset outlives the connection that
// produced it.
namespace ormex::platform {

class Recordset
{
public:
    Recordset() = default;
    Recordset(std::vector<std::string> columns, std::vector<std::vector<Value>> rows);

    const std::vector<std::string>& columns() const { return m_columns; }
    std::size_t recordCount() const { return m_rows.size(); }
    bool atEnd() const { return m_position >= m_rows.size(); }
    bool empty() const { return m_rows.empty(); }
    void moveNext();
    void moveFirst() { m_position = 0; }
    std::size_t position() const { return m_position; }

    bool hasField(std::string_view name) const { return columnIndex(name) >= 0; }
    // The named field of the current row; null when the field is unknown or the cursor is at end.
    Value field(std::string_view name) const;
    Value field(std::size_t column) const;
    // Value of a field of any row, by row index.
    Value at(std::size_t row, std::string_view name) const;
    // Value of any row by column position (two columns may share a name).
    Value cell(std::size_t row, std::size_t column) const;

    // The current row as a field map (field name to value).
    FieldMap currentRecord() const;
    // Every row as a field map, in order.
    RecordList toRecordList() const;

    int columnIndex(std::string_view name) const;

private:
    std::vector<std::string> m_columns;
    std::vector<std::vector<Value>> m_rows;
    std::size_t m_position = 0;
};

} // namespace ormex::platform
