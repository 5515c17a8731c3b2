#pragma once

#include <QApplication>
#include <QLineEdit>
#include <QTest>

#include <gtest/gtest.h>

#include "module/frame/Grid.h"

namespace ormex::test {

// Types into a grid cell as an operator does: the cell's editor, the text, Enter.
inline void typeIntoCell(module::frame::Grid& grid, int row, const char* field, const QString& text)
{
    grid.setActiveCell(row, grid.columnOf(field));
    auto* editor = qobject_cast<QLineEdit*>(grid.editActiveCell());
    ASSERT_NE(editor, nullptr) << field;
    editor->clear();
    // Keys for what a keyboard types directly; Chinese text arrives through the input method.
    if (text.toLatin1() == text.toUtf8())
        QTest::keyClicks(editor, text);
    else
        editor->insert(text);
    QTest::keyClick(editor, Qt::Key_Return);
    QApplication::processEvents(); // the view commits an edit from its event loop
    QApplication::processEvents(); // and tells a refusal after that
}

} // namespace ormex::test
