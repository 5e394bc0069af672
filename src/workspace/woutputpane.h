#ifndef WOUTPUTPANE_H
#define WOUTPUTPANE_H

#include <QList>
#include <QPlainTextEdit>
#include <QPointer>
#include <QString>

class OutputHighlighter;
class QMouseEvent;
class QResizeEvent;
class QTimer;

// The pane the engine's output streams into. An engine writes tens of megabytes in small
// pieces; inserting and repainting each piece would keep the event loop busy for most of the
// run, so pieces are gathered and shown together a few times a second. Read the pane's text
// with text(), which includes what is still waiting to be shown.
//
// The pane also keeps its whole text as UTF-8, grown with every insertion: reading the text back
// out of the document at the end of a run of tens of megabytes held the window still for a
// tenth of a second, and the compact copy is what saving the output writes as it stands.
class WOutputPane : public QPlainTextEdit
{
    Q_OBJECT
public:
    // How long text may wait before it is shown, and how much may gather before it is shown at
    // once regardless: together they bound the longest pause one insertion causes.
    static constexpr int kFlushIntervalMs = 50;
    static constexpr qsizetype kMaxPendingChars = 256 * 1024;
    // A line longer than this is shown on several display lines; text() still gives it whole.
    // One ever-growing line would be laid out and shaped again at each insertion and paint, so
    // a flood without line breaks would cost time with the square of its length (100 MB took
    // minutes; broken at 1024 characters it streams in about 20 s, at 4096 in about 45 s).
    static constexpr qsizetype kMaxShownLineChars = 1024;

    explicit WOutputPane(QWidget *parent = nullptr);
    ~WOutputPane() override;

    // Adds vText at the very end, whatever the user's cursor or selection. A pane scrolled to
    // its end stays there.
    void appendText(const QString &vText);
    // Shows all text still waiting.
    void flush();
    // The whole text, including text still waiting.
    QString text();
    // The same as UTF-8; sharing it costs nothing, so it may be kept after the pane moves on.
    QByteArray utf8Text();
    // Replaces everything, including text still waiting.
    void setText(const QString &vText);
    // The document's own replacements go through setText, so that the kept text follows.
    void setPlainText(const QString &vText) { setText(vText); }
    void clear() { setText(QString()); }
    bool hasPendingText() const { return !m_pending.isEmpty(); }

    // Colours the pane with vHighlighter, which must work on this pane's document. Only the
    // lines in view are highlighted, when they come into view, so the cost of colouring does
    // not grow with the amount of output.
    void setHighlighter(OutputHighlighter *vHighlighter);
    OutputHighlighter *highlighter() const { return m_highlighter; }
    // The script line a link at vPos (viewport coordinates) names, or 0.
    int scriptLineAt(const QPoint &vPos) const;

Q_SIGNALS:
    // A click on a place in the output that names a script line.
    void did_activateScriptLine(int vLine);

protected:
    void resizeEvent(QResizeEvent *vEvent) override;
    void mouseMoveEvent(QMouseEvent *vEvent) override;
    void mouseReleaseEvent(QMouseEvent *vEvent) override;

private:
    void highlightVisible();
    void scheduleHighlight();
    void insertShown(const QString &vText);
    void keep(const QString &vText);
    bool keptTextIsCurrent() const;
    QString documentText() const;

    QString m_pending;
    // The pane's text as text() gives it, and how many characters the document holds for it
    // (with the breaks of long lines); a document changed behind the pane's back is read again.
    QByteArray m_kept;
    qsizetype m_shownChars = 0;
    // Numbers of the blocks that continue the line before them (in ascending order).
    QList<int> m_continuations;
    QTimer *m_flushTimer = nullptr;
    // Lives in the document, which may outlive the pane or be given a new highlighter.
    QPointer<OutputHighlighter> m_highlighter;
    QTimer *m_highlightTimer = nullptr;
};

#endif // WOUTPUTPANE_H
