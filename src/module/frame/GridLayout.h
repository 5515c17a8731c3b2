#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Grid.h"

// Grid layouts as data. A layout record names the number of data columns ("MaxCols"), a tag for
// the grid ("Tag") and one descriptor per column ("FCol") with seven values: caption, field,
// cell type, locked, visible, width and save mark. Screens keep their layouts in a store under
// "Detail" + tab and build every grid from them; no screen sets up columns in code.
namespace ormex::module::frame {

struct ColumnDescriptor
{
    std::string caption; // empty: the previous column's header spans this one too
    std::string field;   // the data field; the key of the field-to-column map
    int cellType = 1;    // 0 date, 1 text, 3 integer, 8 list, 10 check box, 13 number
    int locked = 0;      // 1 read-only
    int visible = 1;     // 0 hidden (still in the field-to-column map)
    int width = 0;       // twips; 0 keeps the default
    int save = 0;        // 1 gives the mark "S": the column goes into save packages

    // A number format other than the layouts' own (number cells: 2 decimals, 0 for FItemNum,
    // minimum 0), for grids whose numbers are counts.
    struct NumberFormat
    {
        int decimals = 0;
        double minimum = 0;
        double maximum = 99999999;
    };
    std::optional<NumberFormat> format = std::nullopt;
};

struct GridLayout
{
    int MaxCols = 0;
    std::string Tag;
    std::vector<ColumnDescriptor> FCol;
};

// The layouts of a screen, by key ("Detail0", "Detail1", …).
class LayoutStore
{
public:
    bool empty() const { return m_layouts.empty(); }
    void add(const std::string& key, GridLayout layout) { m_layouts[key] = std::move(layout); }
    const GridLayout* find(const std::string& key) const;

private:
    std::map<std::string, GridLayout> m_layouts;
};

// Field name (without regard to case) to grid column.
class FieldColumnMap
{
public:
    void set(const std::string& field, int column);
    // The column of a field, -1 when the layout has none.
    int column(const std::string& field) const;
    bool empty() const { return m_columns.empty(); }
    std::size_t size() const { return m_columns.size(); }

private:
    std::map<std::string, int> m_columns; // lower-case field
};

struct LayoutOptions
{
    bool resetRows = true;       // the grid has no rows afterwards; false keeps them
    bool rowNumberColumn = true; // column 0 numbers the rows under "序号"
};

// Applies a layout to a grid: the columns in order after the row-number column, each with its
// caption (or the span of the previous header), field, save mark, cell type and format
// (number cells: 0 decimals for FItemNum, otherwise 2, minimum 0; list cells: no entries yet),
// lock, visibility and width; and the grid's look. Returns the field-to-column map, hidden
// columns included. A layout with fewer descriptors than MaxCols leaves the rest empty.
FieldColumnMap ApplyLayout(Grid& grid, const GridLayout& layout, LayoutOptions options = {});

// Column widths are given in twips; the screen draws 15 twips to a pixel.
int TwipsToPixels(int twips);

} // namespace ormex::module::frame
