#include "CommandButton.h"

#include <QPushButton>

namespace ormex::module::widgets {

QPushButton* CommandButton(QWidget* parent, const QString& objectName, const char* caption)
{
    auto* button = new QPushButton(QString::fromUtf8(caption), parent);
    button->setObjectName(objectName);
    button->setAutoDefault(false);
    return button;
}

} // namespace ormex::module::widgets
