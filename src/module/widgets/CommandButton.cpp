#include "CommandButton.h"

#include <QBoxLayout>
#include <QPushButton>

namespace ormex::module::widgets {

QPushButton* CommandButton(QWidget* parent, const QString& objectName, const char* caption)
{
    auto* button = new QPushButton(QString::fromUtf8(caption), parent);
    button->setObjectName(objectName);
    button->setAutoDefault(false);
    return button;
}

OkPrintCancel AddOkPrintCancel(QWidget* parent, QBoxLayout& row)
{
    const OkPrintCancel buttons{CommandButton(parent, "cmdOk", "确定(&O)"),
                                CommandButton(parent, "cmdPrint", "打印(&P)"),
                                CommandButton(parent, "cmdCancel", "取消(&C)")};
    for (QPushButton* b : {buttons.ok, buttons.print, buttons.cancel})
        row.addWidget(b);
    return buttons;
}

} // namespace ormex::module::widgets
