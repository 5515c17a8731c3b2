#include "GridHeader.h"

#include <QPainter>

#include "Grid.h"

namespace ormex::module::frame {

GridHeader::GridHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent)
{
    setSectionsClickable(true);
    setHighlightSections(false);
    setDefaultAlignment(Qt::AlignCenter);
}

void GridHeader::paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const
{
    const auto* grid = qobject_cast<const Grid*>(parentWidget());
    if (!grid || logicalIndex >= grid->columns()) {
        QHeaderView::paintSection(painter, rect, logicalIndex);
        return;
    }
    if (grid->column(logicalIndex).spansPrevious && logicalIndex > 0) return; // drawn by its neighbour
    QRect area = rect;
    for (int next = logicalIndex + 1; next < grid->columns() && grid->column(next).spansPrevious; ++next)
        if (!isSectionHidden(next)) area.setRight(area.right() + sectionSize(next));
    painter->save();
    QHeaderView::paintSection(painter, area, logicalIndex);
    painter->restore();
}

} // namespace ormex::module::frame
