#pragma once

#include <QDialog>

#include "platform/Value.h"

// A working screen of the component: loaded afresh on every showing, shown modally.
namespace ormex::module::frame {

class ModuleForm : public QDialog
{
public:
    using QDialog::QDialog;

    // Reads the session and the database again and resets the controls.
    virtual void loadForm() = 0;
    // The tab to open on (screens with tabs).
    void setStabindex(const platform::Value& index) { m_stabindex = index; }
    const platform::Value& Stabindex() const { return m_stabindex; }

private:
    platform::Value m_stabindex = platform::Value(0);
};

} // namespace ormex::module::frame
