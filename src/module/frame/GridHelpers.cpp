#include "GridHelpers.h"

#include <QFontMetrics>

#include "platform/DateTime.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::frame {

namespace {

bool isCheckBox(CellType type)
{
    return type == CellType::CheckBox || type == CellType::CheckBox9;
}

} // namespace

void SetColumnWidthChars(Grid& grid, int column, int characters)
{
    const int width = QFontMetrics(grid.font()).averageCharWidth() * characters + 12;
    if (grid.columnWidth(column) != width) grid.setColumnWidth(column, width);
}

void SetupGridColumns(Grid& grid, const std::string& captions, const std::string& fields,
                      const std::string& widths, const std::string& types, const std::string& hidden,
                      const std::string& locked)
{
    const auto captionList = platform::split(captions, ',');
    const auto fieldList = platform::split(fields, ',');
    const auto widthList = platform::split(widths, ',');
    const auto typeList = platform::split(types, ',');
    const auto hiddenList = platform::split(hidden, ',');
    const auto lockedList = platform::split(locked, ',');
    std::vector<GridColumn> columns;
    for (std::size_t i = 0; i < captionList.size(); ++i) {
        auto at = [i](const std::vector<std::string>& list) {
            return i < list.size() ? list[i] : std::string();
        };
        GridColumn c;
        c.caption = QString::fromStdString(captionList[i]);
        c.field = QString::fromStdString(at(fieldList));
        c.type = static_cast<CellType>(static_cast<int>(platform::numberOr0(at(typeList))));
        c.hidden = platform::numberOr0(at(hiddenList)) == 1;
        c.locked = platform::Value(at(lockedList)).toBool();
        if (c.type == CellType::Number) {
            const bool ratio = platform::containsText(captionList[i], "比例") ||
                               platform::containsText(captionList[i], "率");
            c.decimals = ratio ? 2 : 0;
            c.maximum = ratio ? 100.0 : 99999999.0;
        }
        columns.push_back(c);
    }
    grid.setColumns(std::move(columns));
    for (std::size_t i = 0; i < widthList.size() && i < captionList.size(); ++i)
        SetColumnWidthChars(grid, static_cast<int>(i), static_cast<int>(platform::numberOr0(widthList[i])));
}

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
            if (isCheckBox(column.type) || !record.contains(field)) continue;
            const std::string text = record.text(field);
            if (compare && static_cast<std::size_t>(r) < compare->size()) {
                const platform::FieldMap& current = (*compare)[static_cast<std::size_t>(r)];
                if (current.contains(field) && platform::trim(current.text(field)) != platform::trim(text))
                    grid.setCellColor(r, c, QColor(255, 0, 0));
            }
            QString shown = QString::fromStdString(text);
            if (column.type == CellType::Number && !platform::trim(text).empty()) {
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
    const bool checkColumn = grid.columns() > 0 && isCheckBox(grid.column(0).type);
    for (int r = 0; r < grid.rowCount(); ++r) {
        if (checkColumn && !grid.isChecked(r, 0)) continue;
        platform::FieldMap map;
        for (int c = checkColumn ? 1 : 0; c < grid.columns(); ++c)
            map.set(grid.column(c).field.toStdString(), grid.cellText(r, c).toStdString());
        rows.push_back(std::move(map));
    }
    return rows;
}

platform::RecordList BuildSavePackage(const Grid& grid, int tableKind, int headerFlag)
{
    platform::RecordList package;
    for (int r = 0; r < grid.rowCount(); ++r) {
        platform::FieldMap row;
        for (int c = 0; c < grid.columns(); ++c) {
            const GridColumn& column = grid.column(c);
            if (!column.save) continue;
            const std::string text = grid.cellText(r, c).toStdString();
            if (column.type == CellType::Number)
                row.set(column.field.toStdString(), platform::numberOr0(text));
            else if (column.type == CellType::List)
                row.set(column.field.toStdString(), static_cast<int>(platform::numberOr0(text)));
            else
                row.set(column.field.toStdString(), text);
        }
        package.push_back(std::move(row));
    }
    platform::FieldMap header;
    if (tableKind == 1 && headerFlag == 1) {
        header.set("Table", "T_Pos_VipGift");
        header.set("PKColCount", 3);
        header.set("PKCOL1", "FItemId");
        header.set("PKCOL2", "FCardType");
        header.set("PKCOL3", "FBranchID");
    }
    package.push_back(std::move(header));
    return package;
}

} // namespace ormex::module::frame
