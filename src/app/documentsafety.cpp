#include "documentsafety.h"

#include "config/csettings.h"
#include "config/msettings.h"
#include "drecovery.h"
#include "editor/wsyntaxeditor.h"
#include "mainwindow.h"
#include "workspace/recoverycopy.h"
#include "workspace/recoverystore.h"
#include "workspace/workspace.h"

#include <QDir>
#include <QFileInfo>
#include <QStatusBar>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>

namespace {
void placeCursor(Workspace *vDocument, int vPosition)
{
    QTextCursor cursor = vDocument->editor()->textCursor();
    cursor.setPosition(std::clamp(vPosition, 0, vDocument->editor()->document()->characterCount() - 1));
    vDocument->editor()->setTextCursor(cursor);
    vDocument->editor()->ensureCursorVisible();
}
} // namespace

DocumentSafety::DocumentSafety(MainWindow *vWindow, RecoveryStore *vStore)
    : QObject(vWindow)
    , m_window(vWindow)
    , m_store(vStore ? vStore : new RecoveryStore(RecoveryStore::defaultRoot(), this))
{
    connect(m_store, &RecoveryStore::did_failWrite, this, [this](const QString &vFolder) {
        m_window->statusBar()->showMessage(
            tr("Unsaved changes cannot be kept for recovery in %1: save your scripts.")
                .arg(QDir::toNativeSeparators(vFolder)));
    });
}

void DocumentSafety::watch(Workspace *vDocument)
{
    new RecoveryCopy(vDocument, m_store);
    connect(vDocument, &Workspace::did_close, this, [this, vDocument] { record(vDocument); });
}

void DocumentSafety::beginQuit(const QList<Workspace *> &vDocuments, Workspace *vCurrent)
{
    m_quitting = true;
    m_current = vCurrent;
    m_closing.clear();
    for (Workspace *document : vDocuments)
        m_closing.append({document, {}, 0});
}

// At the moment of closing: a script first saved under a name during the quit has that name.
void DocumentSafety::record(Workspace *vDocument)
{
    if (!m_quitting)
        return;
    for (Closing &entry : m_closing)
        if (entry.document == vDocument) {
            entry.path = QFileInfo(vDocument->filePath()).absoluteFilePath();
            if (vDocument->filePath().isEmpty())
                entry.path.clear();
            entry.cursor = vDocument->editor()->textCursor().position();
        }
}

void DocumentSafety::finishQuit()
{
    m_quitting = false;
    QStringList files;
    QList<int> cursors;
    int current = -1;
    for (const Closing &entry : std::as_const(m_closing)) {
        if (entry.path.isEmpty())
            continue;
        if (m_current && entry.document == m_current)
            current = int(files.size());
        files.append(entry.path);
        cursors.append(entry.cursor);
    }
    MSettings &settings = CSettings::instance().store();
    settings.setSessionFiles(files);
    settings.setSessionCursors(cursors);
    settings.setSessionCurrent(current);
    m_closing.clear();
}

void DocumentSafety::restoreSession()
{
    const MSettings &settings = CSettings::instance().store();
    if (!settings.reopenSession())
        return;
    const QStringList files = settings.sessionFiles();
    const QList<int> cursors = settings.sessionCursors();
    QStringList gone;
    for (int i = 0; i < files.size(); ++i) {
        if (!QFileInfo(files.at(i)).isFile()) {
            gone.append(QFileInfo(files.at(i)).fileName());
            continue;
        }
        m_window->on_open(files.at(i));
        if (Workspace *document = documentFor(files.at(i)))
            placeCursor(document, cursors.value(i));
    }
    const int current = settings.sessionCurrent();
    if (current >= 0 && current < files.size() && documentFor(files.at(current)))
        m_window->on_open(files.at(current)); // an open file is only brought forward
    if (!gone.isEmpty())
        m_window->statusBar()->showMessage(
            tr("Not reopened, no longer found: %1").arg(gone.join(QStringLiteral(", "))), 15000);
}

void DocumentSafety::offerRecovery()
{
    const QList<RecoveredScript> scripts = m_store->claimOrphans();
    if (scripts.isEmpty()) {
        m_store->discardClaimed(); // folders of crashed studios that had nothing unsaved
        return;
    }
    DRecovery dialog(scripts, m_window);
    dialog.exec();
    switch (dialog.choice()) {
    case DRecovery::Choice::Recover:
        for (const RecoveredScript &script : scripts)
            if (script.usable())
                recover(script);
        m_store->discardClaimed();
        break;
    case DRecovery::Choice::Discard:
        m_store->discardClaimed();
        break;
    case DRecovery::Choice::Later:
        m_store->releaseClaimed();
        break;
    }
}

Workspace *DocumentSafety::recover(const RecoveredScript &vScript)
{
    Workspace *document = nullptr;
    if (!vScript.path.isEmpty() && QFileInfo(vScript.path).isFile()) {
        m_window->on_open(vScript.path);
        document = documentFor(vScript.path);
    }
    if (!document) {
        m_window->on_new();
        document = m_window->documents().constLast();
    }
    // One edit over the whole text: modified, and undo goes back to what the file holds.
    QTextCursor all(document->editor()->document());
    all.select(QTextCursor::Document);
    all.insertText(vScript.text);
    placeCursor(document, vScript.cursor);
    // Its copy is written at once: the claimed copy is about to be deleted.
    if (auto *copy = document->findChild<RecoveryCopy *>(QString(), Qt::FindDirectChildrenOnly))
        copy->writeNow();
    return document;
}

Workspace *DocumentSafety::documentFor(const QString &vPath) const
{
    const QString wanted = QFileInfo(vPath).absoluteFilePath();
    for (Workspace *document : m_window->documents())
        if (!document->filePath().isEmpty()
            && QFileInfo(document->filePath()).absoluteFilePath().compare(wanted, Qt::CaseInsensitive) == 0)
            return document;
    return nullptr;
}
