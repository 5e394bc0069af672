#include "wtextfinder.h"
#include "ui_wtextfinder.h"

#include "editor/textsearch.h"

#include <QKeyEvent>
#include <QShowEvent>
#include <QTextCursor>
#include <QTextEdit>

WTextFinder::WTextFinder(QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::WTextFinder)
{
    ui->setupUi(this);
    // Return in a field does what its neighbouring button does next.
    connect(ui->leFind, &QLineEdit::returnPressed, this, &WTextFinder::on_tbFindNext_clicked);
    connect(ui->leReplace, &QLineEdit::returnPressed, this, &WTextFinder::on_tbReplaceNext_clicked);
}

WTextFinder::~WTextFinder()
{
    delete ui;
}

void WTextFinder::setEditor(QTextEdit *vEditor)
{
    m_editor = vEditor;
}

QTextEdit *WTextFinder::editor() const
{
    return m_editor;
}

bool WTextFinder::findFromCursor(const QString &vText, bool vBackward)
{
    if (!m_editor)
        return false;
    const QTextCursor found = TextSearch::find(*m_editor->document(), m_editor->textCursor(), vText,
                                               vBackward ? TextSearch::Direction::Backward
                                                         : TextSearch::Direction::Forward);
    if (found.isNull())
        return false;
    m_editor->setTextCursor(found);
    m_editor->ensureCursorVisible();
    return true;
}

bool WTextFinder::findNext()
{
    if (!findFromCursor(ui->leFind->text(), false))
        return false;
    Q_EMIT did_findNext();
    return true;
}

bool WTextFinder::findPrev()
{
    if (!findFromCursor(ui->leFind->text(), true))
        return false;
    Q_EMIT did_findPrev();
    return true;
}

bool WTextFinder::replace()
{
    if (!m_editor)
        return false;
    QTextCursor cursor = m_editor->textCursor();
    if (!cursor.hasSelection())
        return false;
    cursor.insertText(ui->leReplace->text());
    m_editor->setTextCursor(cursor);
    return true;
}

// Every keystroke searches again from the top, so the first match of what is typed so far is
// always the one shown.
void WTextFinder::on_leFind_textEdited(const QString &vText)
{
    if (!m_editor)
        return;
    m_editor->moveCursor(QTextCursor::Start);
    if (findFromCursor(vText, false))
        Q_EMIT did_find(vText);
}

void WTextFinder::on_tbFindPrev_clicked()
{
    findPrev();
}

void WTextFinder::on_tbFindNext_clicked()
{
    findNext();
}

void WTextFinder::on_tbReplacePrev_clicked()
{
    replace();
    findPrev();
}

void WTextFinder::on_tbReplaceNext_clicked()
{
    replace();
    findNext();
}

void WTextFinder::on_toolButton_clicked()
{
    Q_EMIT do_close(false);
}

void WTextFinder::showEvent(QShowEvent *e)
{
    e->accept();
    ui->leFind->setFocus();
}

// Escape in either field closes the bar, as the close button does.
void WTextFinder::keyPressEvent(QKeyEvent *e)
{
    if (e->key() == Qt::Key_Escape && e->modifiers() == Qt::NoModifier) {
        on_toolButton_clicked();
        return;
    }
    QWidget::keyPressEvent(e);
}
