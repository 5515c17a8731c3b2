#pragma once

#include <QDialog>

#include <functional>
#include <utility>
#include <vector>

#include "platform/RecordList.h"
#include "platform/Recordset.h"

class QLineEdit;
class QTableWidget;

// A pick list of the host: a search box, a table of matching records, single or multiple
// selection. The rows come from a reader given the search text. The list can be saved as a CSV
// file (TableCsvExport.h).
namespace ormex::host {

class LookupDialog : public QDialog
{
public:
    using Reader = std::function<platform::Recordset(const std::string& search)>;
    using Column = std::pair<QString, QString>; // field, caption

    LookupDialog(const QString& title, std::vector<Column> columns, Reader reader, bool multiSelect,
                 const QString& searchText, QWidget* parent = nullptr);

    // The chosen records (all fields of their rows).
    platform::RecordList chosen() const;
    void search();
    QLineEdit* searchBox() const { return m_search; }
    QTableWidget* table() const { return m_table; }

private:
    std::vector<Column> m_columns;
    Reader m_reader;
    QLineEdit* m_search = nullptr;
    QTableWidget* m_table = nullptr;
    platform::RecordList m_rows;
};

} // namespace ormex::host
