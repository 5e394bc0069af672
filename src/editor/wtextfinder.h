#ifndef WTEXTFINDER_H
#define WTEXTFINDER_H

#include <QPointer>
#include <QWidget>

class QKeyEvent;
class QPlainTextEdit;
class QShowEvent;
class QTextEdit;

namespace Ui {
class WTextFinder;
}

// The find and replace bar under a script editor. Searches run from the editor's cursor and stop
// at the ends of the document; every operation is inert until an editor is set.
class WTextFinder : public QWidget
{
    Q_OBJECT
public:
    explicit WTextFinder(QWidget *parent = nullptr);
    ~WTextFinder() override;

    void setEditor(QTextEdit *vEditor);
    QTextEdit *editor() const;
    // A read-only view the bar searches instead of the editor while that view has (or last had)
    // the focus; replacing is off meanwhile.
    void setOutputView(QPlainTextEdit *vView);
    bool searchesOutput() const { return m_searchOutput; }

    bool findPrev();
    bool findNext();
    bool replace();

Q_SIGNALS:
    void did_find(QString vSearch);
    void did_findPrev();
    void did_findNext();
    void do_close(bool);

private Q_SLOTS:
    void on_leFind_textEdited(const QString &vText);
    void on_tbFindPrev_clicked();
    void on_tbFindNext_clicked();
    void on_tbReplacePrev_clicked();
    void on_tbReplaceNext_clicked();
    void on_toolButton_clicked();

protected:
    void showEvent(QShowEvent *e) override;
    void keyPressEvent(QKeyEvent *e) override;
    bool eventFilter(QObject *vWatched, QEvent *vEvent) override;

private:
    bool findFromCursor(const QString &vText, bool vBackward);

    Ui::WTextFinder *ui;
    void setSearchOutput(bool vOutput);

    QPointer<QTextEdit> m_editor;
    QPointer<QPlainTextEdit> m_output;
    bool m_searchOutput = false;
};

#endif // WTEXTFINDER_H
