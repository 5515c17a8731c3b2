#include "TableCsvExport.h"

#include <QAction>
#include <QHeaderView>
#include <QTableWidget>

#include "platform/HostServices.h"

namespace ormex::host {

platform::CsvRows TableCsvRows(const QTableWidget& table)
{
    std::vector<int> columns;
    for (int visual = 0; visual < table.columnCount(); ++visual) {
        const int c = table.horizontalHeader()->logicalIndex(visual);
        if (c >= 0 && !table.isColumnHidden(c)) columns.push_back(c);
    }
    platform::CsvRows rows;
    std::vector<std::string>& captions = rows.emplace_back();
    for (int c : columns)
        captions.push_back(table.model()->headerData(c, Qt::Horizontal).toString().toStdString());
    for (int r = 0; r < table.rowCount(); ++r) {
        if (table.isRowHidden(r)) continue;
        std::vector<std::string>& cells = rows.emplace_back();
        for (int c : columns)
            cells.push_back(table.model()->index(r, c).data().toString().toStdString());
    }
    return rows;
}

void AddCsvExportCommand(QTableWidget& table, const std::string& fileTitle)
{
    auto* command = new QAction(QStringLiteral("导出CSV…"), &table);
    command->setObjectName(QStringLiteral("exportCsv"));
    command->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_E));
    command->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    command->setShortcutVisibleInContextMenu(true);
    table.addAction(command);
    table.setContextMenuPolicy(Qt::ActionsContextMenu);
    QObject::connect(command, &QAction::triggered, &table, [&table, fileTitle] {
        platform::saveCsv(platform::HostServices::instance().messages(), fileTitle, TableCsvRows(table));
    });
}

} // namespace ormex::host
