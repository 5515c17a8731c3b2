#include "GridCsvExport.h"

#include <QAction>
#include <QHeaderView>
#include <QTabWidget>

#include "Gateway.h"
#include "Grid.h"

namespace ormex::module::frame {

namespace {

QString shownText(const Grid& grid, int row, int column)
{
    if (isCheckBoxType(grid.column(column).type))
        return grid.isChecked(row, column) ? QStringLiteral("√") : QString();
    return grid.cellText(row, column);
}

} // namespace

platform::CsvRows GridCsvRows(const Grid& grid)
{
    // In the order the header shows them.
    std::vector<int> columns;
    for (int visual = 0; visual < grid.columns(); ++visual) {
        const int c = grid.horizontalHeader()->logicalIndex(visual);
        if (c >= 0 && !grid.isColumnHidden(c)) columns.push_back(c);
    }
    platform::CsvRows rows;
    std::vector<std::string>& captions = rows.emplace_back();
    for (int c : columns)
        captions.push_back(grid.model()->headerData(c, Qt::Horizontal).toString().toStdString());
    for (int r = 0; r < grid.rowCount(); ++r) {
        if (grid.isRowHidden(r)) continue;
        std::vector<std::string>& cells = rows.emplace_back();
        for (int c : columns)
            cells.push_back(shownText(grid, r, c).toStdString());
    }
    return rows;
}

std::string GridCsvTitle(const Grid& grid)
{
    QString screen;
    QString tab;
    for (QWidget* w = const_cast<Grid*>(&grid); w; w = w->parentWidget()) {
        // A tab page sits in the page stack of its tab control.
        const QWidget* stack = w->parentWidget();
        if (const auto* tabs = qobject_cast<const QTabWidget*>(stack ? stack->parentWidget() : nullptr);
            tabs && tab.isEmpty()) {
            if (const int index = tabs->indexOf(w); index >= 0)
                tab = tabs->tabText(index).remove(QLatin1Char('&'));
        }
        if (screen.isEmpty()) screen = w->windowTitle();
    }
    if (screen.isEmpty()) screen = QStringLiteral("表格");
    return (tab.isEmpty() ? screen : screen + QLatin1Char('-') + tab).toStdString();
}

void ExportGridCsv(const Grid& grid)
{
    platform::saveCsv(Messages(), GridCsvTitle(grid), GridCsvRows(grid));
}

void AddCsvExportCommand(Grid& grid)
{
    auto* command = new QAction(QStringLiteral("导出CSV…"), &grid);
    command->setObjectName(QStringLiteral("exportCsv"));
    command->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_E));
    command->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    command->setShortcutVisibleInContextMenu(true);
    grid.addAction(command);
    grid.setContextMenuPolicy(Qt::ActionsContextMenu);
    QObject::connect(command, &QAction::triggered, &grid, [&grid] { ExportGridCsv(grid); });
}

} // namespace ormex::module::frame
