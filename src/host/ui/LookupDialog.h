#pragma once

#include <QDialog>

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/RecordList.h"
#include "platform/Recordset.h"

class QLineEdit;
class QTableView;

// A pick list of the host: a search box, a table of matching records, single or multiple
// selection. The rows come a page at a time from a reader given the search text, as the operator
// scrolls (LookupModel.h). The list can be saved as a CSV file (TableCsvExport.h).
namespace ormex::host {

class LookupModel;

class LookupDialog : public QDialog
{
public:
    // Reads `count` matching rows from row `offset` on, always in the same order.
    using Reader =
        std::function<platform::Recordset(const std::string& search, std::size_t offset, std::size_t count)>;
    using Column = std::pair<QString, QString>; // field, caption

    LookupDialog(const QString& title, std::vector<Column> columns, Reader reader, bool multiSelect,
                 const QString& searchText, QWidget* parent = nullptr);

    // The chosen records (all fields of their rows).
    platform::RecordList chosen() const;
    void search();
    QLineEdit* searchBox() const { return m_search; }
    QTableView* table() const { return m_table; }
    LookupModel& model() const { return *m_model; }

private:
    Reader m_reader;
    QLineEdit* m_search = nullptr;
    LookupModel* m_model = nullptr;
    QTableView* m_table = nullptr;
};

} // namespace ormex::host
