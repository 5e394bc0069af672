#include "studioextras.h"

#include "config/csettings.h"
#include "editor/wsyntaxeditor.h"
#include "mainwindow.h"
#include "recentfiles.h"
#include "workspace/workspace.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QStatusBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>

namespace {
// The entry that follows vAction in vMenu, so a new entry can go right after it.
QAction *after(QMenu *vMenu, const QAction *vAction)
{
    const QList<QAction *> actions = vMenu->actions();
    const qsizetype at = actions.indexOf(const_cast<QAction *>(vAction));
    return at >= 0 && at + 1 < actions.size() ? actions.at(at + 1) : nullptr;
}
} // namespace

StudioExtras::StudioExtras(MainWindow *vWindow)
    : QObject(vWindow)
    , m_window(vWindow)
{
    auto *fileMenu = vWindow->findChild<QMenu *>(QStringLiteral("menuFile"));
    auto *editMenu = vWindow->findChild<QMenu *>(QStringLiteral("menuEdit"));
    auto *viewMenu = vWindow->findChild<QMenu *>(QStringLiteral("menuView"));
    auto *open = vWindow->findChild<QAction *>(QStringLiteral("actionOpen"));
    auto *find = vWindow->findChild<QAction *>(QStringLiteral("actionFind_and_Replace"));
    auto *zoomOut = vWindow->findChild<QAction *>(QStringLiteral("actionZoom_Out"));

    m_recentMenu = new QMenu(tr("Open Recent"), vWindow);
    m_recentMenu->setObjectName(QStringLiteral("menuOpen_Recent"));
    fileMenu->insertMenu(after(fileMenu, open), m_recentMenu);
    rebuildRecentMenu();

    // "Ctrl+G" belongs to the find bar's Replace; this one is free.
    m_goToLine = new QAction(tr("Go to Line..."), vWindow);
    m_goToLine->setObjectName(QStringLiteral("actionGo_to_Line"));
    m_goToLine->setShortcut(QKeySequence(QStringLiteral("Ctrl+J")));
    editMenu->insertAction(after(editMenu, find), m_goToLine);
    connect(m_goToLine, &QAction::triggered, this, &StudioExtras::goToLine);

    m_lineNumbers = new QAction(tr("Line Numbers"), vWindow);
    m_lineNumbers->setObjectName(QStringLiteral("actionLine_Numbers"));
    m_lineNumbers->setCheckable(true);
    m_lineNumbers->setChecked(CSettings::instance().lineNumbers());
    viewMenu->insertAction(after(viewMenu, zoomOut), m_lineNumbers);
    connect(m_lineNumbers, &QAction::toggled, &CSettings::instance(), &CSettings::setLineNumbers);
    connect(&CSettings::instance(), &CSettings::did_changeLineNumbers, m_lineNumbers,
            &QAction::setChecked);

    m_position = new QLabel(vWindow);
    m_position->setObjectName(QStringLiteral("lblCursorPosition"));
    vWindow->statusBar()->addPermanentWidget(m_position);
}

void StudioExtras::watch(Workspace *vDocument)
{
    auto note = [this, vDocument] {
        remember(vDocument->filePath());
    };
    connect(vDocument, &Workspace::did_read, this, note);
    connect(vDocument, &Workspace::did_save, this, note);
}

void StudioExtras::remember(const QString &vPath)
{
    RecentFiles recent(CSettings::instance().recentFiles());
    recent.add(vPath);
    CSettings::instance().setRecentFiles(recent.paths());
    rebuildRecentMenu();
}

void StudioExtras::openRecent(const QString &vPath)
{
    if (!QFileInfo::exists(vPath)) {
        RecentFiles recent(CSettings::instance().recentFiles());
        recent.remove(vPath);
        CSettings::instance().setRecentFiles(recent.paths());
        rebuildRecentMenu();
        QMessageBox::warning(m_window, tr("Warning"),
                             tr("\"%1\" no longer exists and was removed from the recent files.")
                                 .arg(QDir::toNativeSeparators(vPath)));
        return;
    }
    m_window->on_open(vPath);
}

void StudioExtras::clearRecent()
{
    CSettings::instance().setRecentFiles({});
    rebuildRecentMenu();
}

void StudioExtras::rebuildRecentMenu()
{
    m_recentMenu->clear();
    const QStringList paths = RecentFiles(CSettings::instance().recentFiles()).paths();
    for (qsizetype i = 0; i < paths.size(); ++i) {
        const QString path = paths.at(i);
        // Numbers 1 to 9 double as keys to choose the entry.
        const QString number = i < 9 ? QStringLiteral("&%1").arg(i + 1) : QString::number(i + 1);
        QAction *entry = m_recentMenu->addAction(
            QStringLiteral("%1  %2").arg(number, QDir::toNativeSeparators(path)));
        connect(entry, &QAction::triggered, this, [this, path] { openRecent(path); });
    }
    m_recentMenu->addSeparator();
    QAction *clear = m_recentMenu->addAction(tr("Clear Recent Files"));
    clear->setObjectName(QStringLiteral("actionClear_Recent_Files"));
    clear->setEnabled(!paths.isEmpty());
    connect(clear, &QAction::triggered, this, &StudioExtras::clearRecent);
}

void StudioExtras::goToLine()
{
    Workspace *document = m_window->activeDocument();
    if (!document)
        return;
    WSyntaxEditor *editor = document->editor();
    bool ok = false;
    const int line = QInputDialog::getInt(
        m_window, tr("Go to Line"), tr("Line (1 - %1):").arg(editor->document()->blockCount()),
        editor->textCursor().blockNumber() + 1, 1, editor->document()->blockCount(), 1, &ok);
    if (!ok)
        return;
    editor->goToLine(line);
    editor->setFocus();
}

void StudioExtras::follow(Workspace *vDocument)
{
    if (m_editor)
        m_editor->disconnect(this);
    const Workspace *document = vDocument;
    m_editor = document ? document->editor() : nullptr;
    if (m_editor)
        connect(m_editor, &QTextEdit::cursorPositionChanged, this, &StudioExtras::showPosition);
    showPosition();
}

void StudioExtras::showPosition()
{
    if (!m_editor) {
        m_position->clear();
        return;
    }
    const QTextCursor cursor = m_editor->textCursor();
    m_position->setText(
        tr("Line %1, Column %2").arg(cursor.blockNumber() + 1).arg(cursor.positionInBlock() + 1));
}
