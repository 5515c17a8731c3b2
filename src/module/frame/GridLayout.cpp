#include "GridLayout.h"

#include "platform/Text.h"

namespace ormex::module::frame {

const GridLayout* LayoutStore::find(const std::string& key) const
{
    const auto it = m_layouts.find(key);
    return it == m_layouts.end() ? nullptr : &it->second;
}

void FieldColumnMap::set(const std::string& field, int column)
{
    m_columns[platform::toLowerAscii(field)] = column;
}

int FieldColumnMap::column(const std::string& field) const
{
    const auto it = m_columns.find(platform::toLowerAscii(field));
    return it == m_columns.end() ? -1 : it->second;
}

int TwipsToPixels(int twips)
{
    return (twips + 7) / 15;
}

FieldColumnMap ApplyLayout(Grid& grid, const GridLayout& layout, LayoutOptions options)
{
    FieldColumnMap map;
    std::vector<GridColumn> columns;
    if (options.rowNumberColumn) {
        GridColumn numbers;
        numbers.caption = QStringLiteral("序号");
        numbers.rowNumbers = true;
        numbers.locked = true;
        columns.push_back(numbers);
    }
    const int first = static_cast<int>(columns.size());
    for (int k = 0; k < layout.MaxCols; ++k) {
        GridColumn column;
        if (static_cast<std::size_t>(k) < layout.FCol.size()) {
            const ColumnDescriptor& d = layout.FCol[static_cast<std::size_t>(k)];
            column.caption = QString::fromStdString(d.caption);
            column.spansPrevious = d.caption.empty() && first + k > 0;
            column.field = QString::fromStdString(d.field);
            column.type = static_cast<CellType>(d.cellType);
            column.locked = d.locked == 1;
            column.hidden = d.visible == 0;
            column.save = d.save == 1;
            if (d.format) {
                column.decimals = d.format->decimals;
                column.minimum = d.format->minimum;
                column.maximum = d.format->maximum;
            } else if (column.type == CellType::Number || column.type == CellType::Integer) {
                column.decimals =
                    platform::iequals(d.field, "FItemNum") || column.type == CellType::Integer ? 0 : 2;
                column.minimum = 0;
                column.maximum = 999999999.99;
            }
            map.set(d.field, first + k);
        }
        columns.push_back(column);
    }
    grid.setColumns(std::move(columns), !options.resetRows);
    grid.setProperty("ormexTag", QString::fromStdString(layout.Tag));
    for (int k = 0; k < layout.MaxCols && static_cast<std::size_t>(k) < layout.FCol.size(); ++k)
        if (const int width = layout.FCol[static_cast<std::size_t>(k)].width; width != 0)
            grid.setColumnWidth(first + k, TwipsToPixels(width));
    if (options.rowNumberColumn) grid.setColumnWidth(0, 40);
    return map;
}

} // namespace ormex::module::frame
