#include "recoverycopy.h"

#include "editor/wsyntaxeditor.h"
#include "recoverystore.h"
#include "workspace.h"

#include <QTextCursor>
#include <QTextDocument>

RecoveryCopy::RecoveryCopy(Workspace *vDocument, RecoveryStore *vStore)
    : QObject(vDocument)
    , m_document(vDocument)
    , m_store(vStore)
    , m_key(vStore->newKey())
{
    m_idle.setSingleShot(true);
    m_idle.setInterval(kIdleMs);
    m_longest.setSingleShot(true);
    m_longest.setInterval(kLongestMs);
    connect(&m_idle, &QTimer::timeout, this, &RecoveryCopy::writeNow);
    connect(&m_longest, &QTimer::timeout, this, &RecoveryCopy::writeNow);
    QTextDocument *text = vDocument->editor()->document();
    connect(text, &QTextDocument::contentsChanged, this, &RecoveryCopy::changed);
    connect(text, &QTextDocument::modificationChanged, this, &RecoveryCopy::modificationChanged);
    connect(vDocument, &Workspace::did_close, this, [this] {
        discard();
        m_closed = true;
    });
}

// The keystroke path: two timer restarts, nothing else.
void RecoveryCopy::changed()
{
    if (m_closed)
        return;
    m_idle.start();
    if (!m_longest.isActive())
        m_longest.start();
}

void RecoveryCopy::modificationChanged(bool vModified)
{
    if (!vModified)
        discard();
}

void RecoveryCopy::writeNow()
{
    m_idle.stop();
    m_longest.stop();
    if (m_closed || !m_store)
        return;
    if (!m_document->isModified()) {
        discard();
        return;
    }
    RecoveredScript script;
    script.path = m_document->filePath();
    script.name = m_document->displayName();
    script.cursor = m_document->editor()->textCursor().position();
    script.text = m_document->editor()->toPlainText();
    m_store->write(m_key, script);
}

void RecoveryCopy::discard()
{
    m_idle.stop();
    m_longest.stop();
    if (m_store)
        m_store->remove(m_key);
}
