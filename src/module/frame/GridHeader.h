#pragma once

#include <QHeaderView>

// The grid's column header: a column without a caption is covered by the header of the column
// before it, which is drawn across both.
namespace ormex::module::frame {

class GridHeader : public QHeaderView
{
public:
    explicit GridHeader(QWidget* parent);

protected:
    void paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const override;
};

} // namespace ormex::module::frame
