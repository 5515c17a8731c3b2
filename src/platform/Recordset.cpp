#include "Recordset.h"

#include "Text.h"

namespace ormex::platform {

Recordset::Recordset(std::vector<std::string> columns, std::vector<std::vector<Value>> rows)
    : m_columns(std::move(columns)), m_rows(std::move(rows))
{
}

void Recordset::moveNext()
{
    if (m_position < m_rows.size()) ++m_position;
}

int Recordset::columnIndex(std::string_view name) const
{
    for (std::size_t i = 0; i < m_columns.size(); ++i)
        if (iequals(m_columns[i], name)) return static_cast<int>(i);
    return -1;
}

Value Recordset::field(std::string_view name) const
{
    return at(m_position, name);
}

Value Recordset::field(std::size_t column) const
{
    if (atEnd() || column >= m_columns.size()) return {};
    return m_rows[m_position][column];
}

Value Recordset::at(std::size_t row, std::string_view name) const
{
    const int c = columnIndex(name);
    if (c < 0 || row >= m_rows.size()) return {};
    return m_rows[row][static_cast<std::size_t>(c)];
}

Value Recordset::cell(std::size_t row, std::size_t column) const
{
    if (row >= m_rows.size() || column >= m_columns.size()) return {};
    return m_rows[row][column];
}

FieldMap Recordset::currentRecord() const
{
    FieldMap map;
    if (atEnd()) return map;
    for (std::size_t c = 0; c < m_columns.size(); ++c)
        map.set(m_columns[c], m_rows[m_position][c]);
    return map;
}

RecordList Recordset::toRecordList() const
{
    RecordList list;
    list.reserve(m_rows.size());
    for (const auto& row : m_rows) {
        FieldMap map;
        for (std::size_t c = 0; c < m_columns.size(); ++c)
            map.set(m_columns[c], row[c]);
        list.push_back(std::move(map));
    }
    return list;
}

} // namespace ormex::platform
