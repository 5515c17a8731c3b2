#include "GridHelpers.h"

#include <string>
#include <utility>
#include <vector>

#include "platform/DateTime.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::frame {

void FillGrid(Grid& grid, const platform::RecordList& records, const platform::RecordList* compare)
{
    grid.setRowCount(0);
    grid.setRows(static_cast<int>(records.size()));
    for (int r = 0; r < grid.rowCount(); ++r) {
        const platform::FieldMap& record = records[static_cast<std::size_t>(r)];
        for (int c = 0; c < grid.columns(); ++c) {
            const GridColumn& column = grid.column(c);
            const std::string field = column.field.toStdString();
            if (platform::iequals(field, "index")) {
                grid.setCellText(r, c, QString::number(r + 1));
                continue;
            }
            if (isCheckBoxType(column.type) || field.empty() || !record.contains(field)) continue;
            const std::string text = record.text(field);
            if (compare && static_cast<std::size_t>(r) < compare->size()) {
                const platform::FieldMap& current = (*compare)[static_cast<std::size_t>(r)];
                if (current.contains(field) && platform::trim(current.text(field)) != platform::trim(text))
                    grid.setCellColor(r, c, QColor(255, 0, 0));
            }
            QString shown = QString::fromStdString(text);
            if (isNumberType(column.type)) {
                double value = platform::numberOr0(text);
                if (column.caption.contains(QLatin1Char('%'))) value *= 100;
                shown = QString::fromStdString(platform::formatNumber(value));
            } else if (column.type == CellType::Date) {
                const auto date = platform::parseDate(text);
                shown = date ? QString::fromStdString(date->toString()) : QString::fromStdString(text);
            }
            grid.setCellText(r, c, shown);
        }
    }
}

platform::RecordList TickedRows(const Grid& grid)
{
    platform::RecordList rows;
    const bool checkColumn = grid.columns() > 0 && isCheckBoxType(grid.column(0).type);
    for (int r = 0; r < grid.rowCount(); ++r) {
        if (checkColumn && !grid.isChecked(r, 0)) continue;
        platform::FieldMap map;
        for (int c = checkColumn ? 1 : 0; c < grid.columns(); ++c)
            map.set(grid.column(c).field.toStdString(), grid.cellText(r, c).toStdString());
        rows.push_back(std::move(map));
    }
    return rows;
}

SavePackage BuildSavePackage(const Grid& grid, int tableKind, int headerFlag)
{
    SavePackage package;
    // The saved columns and their field names, found once for every row: a package can hold the
    // whole member base.
    std::vector<std::pair<int, std::string>> saved;
    for (int c = 0; c < grid.columns(); ++c)
        if (grid.column(c).save) saved.emplace_back(c, grid.column(c).field.toStdString());
    for (int r = 0; r < grid.rowCount(); ++r) {
        platform::FieldMap row;
        for (const auto& [c, field] : saved) {
            const GridColumn& column = grid.column(c);
            const QString text = grid.cellText(r, c);
            if (column.type == CellType::Number)
                row.set(field, platform::numberOr0(text.toStdString()));
            else if (column.type == CellType::List)
                row.set(field, static_cast<int>(column.items.indexOf(text)));
            else
                row.set(field, text.toStdString());
        }
        package.addRow(std::move(row));
    }
    if (tableKind == 1 && headerFlag == 1)
        package.setTable("T_Pos_VipGift", {"FItemId", "FCardType", "FBranchID"});
    return package;
}

} // namespace ormex::module::frame
