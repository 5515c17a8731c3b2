#pragma once

#include <QString>

class QPushButton;
class QWidget;

namespace ormex::module::widgets {

// A command button of a screen: named as the system names it, and never pressed by Enter from
// another control (Enter moves on between fields).
QPushButton* CommandButton(QWidget* parent, const QString& objectName, const char* caption);

} // namespace ormex::module::widgets
