#pragma once

#include <string>

class QPrinter;
class QWidget;

// Printing a grid as a list an operator can hand over: a title, the date and time, the operator
// and the branch, then the visible columns with their captions and every row, page after page.
namespace ormex::module::frame {

class Grid;

struct PrintHeading
{
    std::string title; // the screen and tab: "积分管理 — 积分奖励"
    std::string operatorName;
    std::string branch;
};

// Renders the grid onto a printer (a PDF file included). A footer (totals) is printed under the
// last row, left of the row count.
void PrintGrid(QPrinter& printer, const Grid& grid, const PrintHeading& heading,
               const std::string& footer = {});

// Asks for the printer with the print dialog and prints; nothing when the operator cancels.
void PrintGridWithDialog(QWidget* parent, const Grid& grid, const PrintHeading& heading,
                         const std::string& footer = {});

} // namespace ormex::module::frame
