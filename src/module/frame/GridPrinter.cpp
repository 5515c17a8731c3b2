#include "GridPrinter.h"

#include <QFont>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>

#include <vector>

#include "Grid.h"
#include "platform/Clock.h"

namespace ormex::module::frame {

void PrintGrid(QPrinter& printer, const Grid& grid, const PrintHeading& heading, const std::string& footer)
{
    QPainter painter(&printer);
    if (!painter.isActive()) return;
    const QRect page = printer.pageLayout().paintRectPixels(printer.resolution());
    const QRect area(0, 0, page.width(), page.height());
    QFont font(QStringLiteral("Noto Sans CJK SC"));
    font.setPointSize(9);
    QFont titleFont = font;
    titleFont.setPointSize(14);
    titleFont.setBold(true);

    std::vector<int> columns;
    int total = 0;
    for (int c = 0; c < grid.columns(); ++c)
        if (!grid.isColumnHidden(c)) {
            columns.push_back(c);
            total += std::max(grid.columnWidth(c), 30);
        }
    if (columns.empty()) return;
    const double scale = static_cast<double>(area.width()) / std::max(total, 1);
    painter.setFont(font);
    const int line = painter.fontMetrics().height() + painter.fontMetrics().height() / 3;
    const int pad = line / 2; // between a cell's text and its neighbours

    const std::string printed = platform::now().toString();
    int y = 0;
    int pageNo = 1;
    auto header = [&] {
        painter.setFont(titleFont);
        const int titleHeight = painter.fontMetrics().height();
        painter.drawText(QRect(0, 0, area.width(), titleHeight), Qt::AlignHCenter | Qt::AlignVCenter,
                         QString::fromStdString(heading.title));
        painter.setFont(font);
        y = titleHeight + line / 2;
        painter.drawText(QRect(0, y, area.width(), line), Qt::AlignLeft | Qt::AlignVCenter,
                         QStringLiteral("打印时间：%1    操作员：%2    分店：%3    第 %4 页")
                             .arg(QString::fromStdString(printed),
                                  QString::fromStdString(heading.operatorName),
                                  QString::fromStdString(heading.branch))
                             .arg(pageNo));
        y += line + line / 2;
        int x = 0;
        painter.drawLine(0, y, area.width(), y);
        for (int c : columns) {
            const int width = static_cast<int>(std::max(grid.columnWidth(c), 30) * scale);
            painter.drawText(QRect(x + pad, y, width - 2 * pad, line), Qt::AlignLeft | Qt::AlignVCenter,
                             grid.column(c).caption);
            x += width;
        }
        y += line;
        painter.drawLine(0, y, area.width(), y);
    };
    header();
    for (int r = 0; r < grid.rowCount(); ++r) {
        if (y + line > area.height()) {
            printer.newPage();
            ++pageNo;
            header();
        }
        int x = 0;
        for (int c : columns) {
            const int width = static_cast<int>(std::max(grid.columnWidth(c), 30) * scale);
            const bool number = isNumberType(grid.column(c).type) || grid.column(c).rowNumbers;
            painter.drawText(QRect(x + pad, y, width - 2 * pad, line),
                             (number ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter,
                             grid.cellText(r, c));
            x += width;
        }
        y += line;
    }
    painter.drawLine(0, y, area.width(), y);
    if (!footer.empty())
        painter.drawText(QRect(0, y, area.width(), line), Qt::AlignLeft | Qt::AlignVCenter,
                         QString::fromStdString(footer));
    painter.drawText(QRect(0, y, area.width(), line), Qt::AlignRight | Qt::AlignVCenter,
                     QStringLiteral("共 %1 行").arg(grid.rowCount()));
}

void PrintGridWithDialog(QWidget* parent, const Grid& grid, const PrintHeading& heading,
                         const std::string& footer)
{
    QPrinter printer(QPrinter::HighResolution);
    QPrintDialog dialog(&printer, parent);
    if (dialog.exec() == QDialog::Accepted) PrintGrid(printer, grid, heading, footer);
}

} // namespace ormex::module::frame
