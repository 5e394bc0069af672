#ifndef DOCUMENTACTIONS_H
#define DOCUMENTACTIONS_H

#include <QList>
#include <QObject>
#include <QPointer>

#include <functional>

class QAction;
class QMdiArea;
class Workspace;

// Binds the main window's actions to the current document, in one table: what each action
// calls on the document, and which of the document's states it shows (enabled, checked). The
// current document is the area's current sub-window, which, unlike its active one, does not
// depend on whether the top-level window happens to be active.
class DocumentActions : public QObject
{
    Q_OBJECT
public:
    using Call = std::function<void(Workspace &, bool)>;
    using Test = std::function<bool(const Workspace &)>;

    explicit DocumentActions(QMdiArea *vArea);

    // vAction calls vCall on the current document (none: it is handled elsewhere). It is
    // enabled while there is a current document for which vEnabled holds (none: always), and
    // checked as vChecked says (none: left alone).
    void bind(QAction *vAction, Call vCall, Test vEnabled = {}, Test vChecked = {});

    Workspace *current() const { return m_current; }
    // Makes vDocument's sub-window the current one at once and binds the actions to it.
    void makeCurrent(Workspace *vDocument);
    // Reads the area's current sub-window again (after one was added, activated or closed).
    void follow();

Q_SIGNALS:
    void currentChanged(Workspace *vDocument);

private:
    struct Row
    {
        QAction *action;
        Call call;
        Test enabled;
        Test checked;
    };
    void bindTo(Workspace *vDocument);
    void refresh();

    QMdiArea *m_area;
    QList<Row> m_rows;
    QPointer<Workspace> m_current;
    QMetaObject::Connection m_stateConnection;
};

#endif // DOCUMENTACTIONS_H
