#pragma once

#include <QString>

class QBoxLayout;
class QPushButton;
class QWidget;

namespace ormex::module::widgets {

// A command button of a screen: named as the system names it, and never pressed by Enter from
// another control (Enter moves on between fields).
QPushButton* CommandButton(QWidget* parent, const QString& objectName, const char* caption);

// The OK, print and cancel buttons of a points or stored-value screen (cmdOk, cmdPrint,
// cmdCancel), added to the end of `row`.
struct OkPrintCancel
{
    QPushButton* ok;
    QPushButton* print;
    QPushButton* cancel;
};
OkPrintCancel AddOkPrintCancel(QWidget* parent, QBoxLayout& row);

} // namespace ormex::module::widgets
