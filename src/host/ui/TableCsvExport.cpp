#include "TableCsvExport.h"

#include <QAction>
#include <QHeaderView>
#include <QTableView>

#include "platform/HostServices.h"

namespace ormex::host {

platform::CsvRows TableCsvRows(const QTableView& table)
{
    std::vector<int> columns;
    const QAbstractItemModel& model = *table.model();
    for (int visual = 0; visual < model.columnCount(); ++visual) {
        const int c = table.horizontalHeader()->logicalIndex(visual);
        if (c >= 0 && !table.isColumnHidden(c)) columns.push_back(c);
    }
    platform::CsvRows rows;
    std::vector<std::string>& captions = rows.emplace_back();
    for (int c : columns)
        captions.push_back(model.headerData(c, Qt::Horizontal).toString().toStdString());
    for (int r = 0; r < model.rowCount(); ++r) {
        if (table.isRowHidden(r)) continue;
        std::vector<std::string>& cells = rows.emplace_back();
        for (int c : columns)
            cells.push_back(model.index(r, c).data().toString().toStdString());
    }
    return rows;
}

void AddCsvExportCommand(QTableView& table, const std::string& fileTitle)
{
    auto* command = new QAction(QStringLiteral("导出CSV…"), &table);
    command->setObjectName(QStringLiteral("exportCsv"));
    command->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_E));
    command->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    command->setShortcutVisibleInContextMenu(true);
    table.addAction(command);
    table.setContextMenuPolicy(Qt::ActionsContextMenu);
    QObject::connect(command, &QAction::triggered, &table, [&table, fileTitle] {
        while (table.model()->canFetchMore({}))
            table.model()->fetchMore({});
        platform::saveCsv(platform::HostServices::instance().messages(), fileTitle, TableCsvRows(table));
    });
}

} // namespace ormex::host
