#include "SavePackage.h"

namespace ormex::module::frame {

void SavePackage::setTable(const std::string& table, const std::vector<std::string>& keyColumns)
{
    m_header = {};
    m_header.set("Table", table);
    m_header.set("PKColCount", static_cast<int>(keyColumns.size()));
    for (std::size_t k = 0; k < keyColumns.size(); ++k)
        m_header.set("PKCOL" + std::to_string(k + 1), keyColumns[k]);
}

std::vector<std::string> SavePackage::keyColumns() const
{
    std::vector<std::string> columns;
    const auto count = m_header.value("PKColCount").toInt();
    for (long k = 1; k <= count; ++k)
        columns.push_back(m_header.text("PKCOL" + std::to_string(k)));
    return columns;
}

platform::RecordList SavePackage::toRecordList() const
{
    platform::RecordList list = m_rows;
    list.push_back(m_header);
    return list;
}

} // namespace ormex::module::frame
