#pragma once

#include <string>

#include "Grid.h"
#include "SavePackage.h"
#include "platform/RecordList.h"

// Filling and reading the component's grids.
namespace ormex::module::frame {

// One row per record. A column "index" shows the row number; number cells take the numeric value
// of the text (0 for an empty one; times 100 when the caption holds "%"), date cells
// "yyyy-mm-dd". With a comparison list, a cell whose trimmed text differs from the same field of
// the same row there is drawn in red.
void FillGrid(Grid& grid, const platform::RecordList& records, const platform::RecordList* compare = nullptr);

// A field map (field name to cell text) of columns 2 to the last for every row whose first
// column is ticked; every row with all columns when the first column is not a check box.
platform::RecordList TickedRows(const Grid& grid);

// The save package of a grid: one field map per row with the columns marked for saving (numbers
// as numbers, lists as the index of the chosen entry, other cells as text). For the gift table
// (kind 1 with the header flag 1) the header names T_Pos_VipGift and its key FItemId, FCardType,
// FBranchID; otherwise it is empty.
SavePackage BuildSavePackage(const Grid& grid, int tableKind, int headerFlag);

} // namespace ormex::module::frame
