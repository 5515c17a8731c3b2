#pragma once

#include <string>
#include <vector>

#include "platform/FieldMap.h"
#include "platform/RecordList.h"

// The save package of an edited grid: one field map per grid row (the columns marked "S", field
// name to value) and, apart from them, one header map. The header names the table a generic save
// writes and its key: Table, PKColCount and PKCOL1 … PKCOLn; it is empty for packages that a
// screen turns into statements itself. Rows and header are kept apart so that no caller can take
// the header for a row.
namespace ormex::module::frame {

class SavePackage
{
public:
    const std::vector<platform::FieldMap>& rows() const { return m_rows; }
    std::size_t rowCount() const { return m_rows.size(); }
    void addRow(platform::FieldMap row) { m_rows.push_back(std::move(row)); }

    const platform::FieldMap& header() const { return m_header; }
    // Names the table and its key columns in the header.
    void setTable(const std::string& table, const std::vector<std::string>& keyColumns);
    std::string table() const { return m_header.text("Table"); }
    // PKCOL1 … PKCOLn of the header, in order.
    std::vector<std::string> keyColumns() const;

    // The package as the host's record list: the rows, then the header.
    platform::RecordList toRecordList() const;

private:
    std::vector<platform::FieldMap> m_rows;
    platform::FieldMap m_header;
};

} // namespace ormex::module::frame
