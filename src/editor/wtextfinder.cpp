#include "wtextfinder.h"
#include "ui_wtextfinder.h"

#include "config/svgiconengine.h"
#include "editor/textsearch.h"

#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QShowEvent>
#include <QTextCursor>
#include <QTextEdit>

WTextFinder::WTextFinder(QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::WTextFinder)
{
    ui->setupUi(this);
    // Set here rather than in the form, so each is read only when first drawn.
    SvgIconEngine::setIcons({
        {ui->tbFindPrev, ":/images/iLEFT"},
        {ui->tbFindNext, ":/images/iRIGHT"},
        {ui->tbReplacePrev, ":/images/iPREV"},
        {ui->tbReplaceNext, ":/images/iNEXT"},
        {ui->toolButton, ":/images/iCANCEL"},
    });
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

void WTextFinder::setOutputView(QPlainTextEdit *vView)
{
    if (m_output)
        m_output->removeEventFilter(this);
    m_output = vView;
    if (m_output)
        m_output->installEventFilter(this);
    if (m_editor)
        m_editor->installEventFilter(this);
}

bool WTextFinder::eventFilter(QObject *vWatched, QEvent *vEvent)
{
    if (vEvent->type() == QEvent::FocusIn) {
        if (m_output && vWatched == m_output)
            setSearchOutput(true);
        else if (m_editor && vWatched == m_editor)
            setSearchOutput(false);
    }
    return QWidget::eventFilter(vWatched, vEvent);
}

void WTextFinder::setSearchOutput(bool vOutput)
{
    m_searchOutput = vOutput;
    for (QWidget *replacing :
         {static_cast<QWidget *>(ui->leReplace), static_cast<QWidget *>(ui->tbReplacePrev),
          static_cast<QWidget *>(ui->tbReplaceNext)})
        replacing->setEnabled(!vOutput);
}

bool WTextFinder::findFromCursor(const QString &vText, bool vBackward)
{
    const auto direction
        = vBackward ? TextSearch::Direction::Backward : TextSearch::Direction::Forward;
    if (m_searchOutput && m_output) {
        const QTextCursor found
            = TextSearch::find(*m_output->document(), m_output->textCursor(), vText, direction);
        if (found.isNull())
            return false;
        m_output->setTextCursor(found);
        m_output->ensureCursorVisible();
        return true;
    }
    if (!m_editor)
        return false;
    const QTextCursor found
        = TextSearch::find(*m_editor->document(), m_editor->textCursor(), vText, direction);
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
    if (!m_editor || m_searchOutput)
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
    if (m_searchOutput && m_output)
        m_output->moveCursor(QTextCursor::Start);
    else if (m_editor)
        m_editor->moveCursor(QTextCursor::Start);
    else
        return;
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
