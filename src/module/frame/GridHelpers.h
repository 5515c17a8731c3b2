#pragma once

#include <string>

#include "Grid.h"
#include "platform/RecordList.h"

// Building, filling and reading the component's grids.
namespace ormex::module::frame {

// Columns from six comma-separated lists of equal length: captions, field names, widths (in
// characters), cell types, hidden flags (1 hides) and lock flags. Number columns whose caption
// holds "比例" or "率" show 2 decimals between 0.00 and 100.00, the others none between 0 and
// 99999999; check-box columns are centred.
void SetupGridColumns(Grid& grid, const std::string& captions, const std::string& fields,
                      const std::string& widths, const std::string& types, const std::string& hidden,
                      const std::string& locked);

void SetColumnWidthChars(Grid& grid, int column, int characters);

// One row per record. A column "index" shows the row number; number cells take the number
// (times 100 when the caption holds "%"), date cells "yyyy-mm-dd". With a comparison list, a cell
// whose trimmed text differs from the same field of the same row there is drawn in red.
void FillGrid(Grid& grid, const platform::RecordList& records, const platform::RecordList* compare = nullptr);

// A field map (field name to cell text) of columns 2 to the last for every row whose first
// column is ticked; every row with all columns when the first column is not a check box.
platform::RecordList TickedRows(const Grid& grid);

// The save package of a grid: one field map per row with the columns marked for saving (numbers
// as numbers, lists as the chosen index, other cells as text), then the header map. For the gift
// table (kind 1 with the header flag) the header names the table and its key.
platform::RecordList BuildSavePackage(const Grid& grid, int tableKind, int headerFlag);

} // namespace ormex::module::frame
