#include "ModuleForm.h"

#include <QCloseEvent>

namespace ormex::module::frame {

bool ModuleForm::runCloseHandling()
{
    if (committing()) {
        m_closeAfterCommit = true;
        return false;
    }
    if (m_closing) return true; // the handling is already under way (a close that ends in done)
    m_closing = true;
    const bool agreed = queryUnload();
    if (agreed) unloadForm();
    m_closing = false;
    return agreed;
}

void ModuleForm::done(int result)
{
    if (!runCloseHandling()) return;
    QDialog::done(result);
}

void ModuleForm::closeEvent(QCloseEvent* event)
{
    // A shown dialog closes through reject() and so through done(); a screen that is not shown
    // (loaded but never displayed) is closed here.
    if (isVisible()) {
        QDialog::closeEvent(event);
        return;
    }
    if (!runCloseHandling()) {
        event->ignore();
        return;
    }
    event->accept();
}

ModuleForm::CommitScope::CommitScope(ModuleForm& screen) : m_screen(screen)
{
    ++m_screen.m_commits;
}

ModuleForm::CommitScope::~CommitScope()
{
    if (--m_screen.m_commits > 0 || !m_screen.m_closeAfterCommit) return;
    m_screen.m_closeAfterCommit = false;
    // Queued: the flow that ran the commit returns first; a screen gone by then is not closed.
    QMetaObject::invokeMethod(
        &m_screen, [screen = &m_screen] { screen->close(); }, Qt::QueuedConnection);
}

} // namespace ormex::module::frame
