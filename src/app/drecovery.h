#ifndef DRECOVERY_H
#define DRECOVERY_H

#include <QDialog>
#include <QList>

struct RecoveredScript;
class QTreeWidget;

// Lists the unsaved scripts a studio that did not close properly left behind, each with the
// time of its copy and its size, and asks what to do with them. Copies that cannot be used are
// listed greyed, with the reason. Closing the dialog any other way means Later.
class DRecovery : public QDialog
{
    Q_OBJECT
public:
    enum class Choice { Recover, Discard, Later };

    explicit DRecovery(const QList<RecoveredScript> &vScripts, QWidget *parent = nullptr);

    Choice choice() const { return m_choice; }
    QTreeWidget *list() const { return m_list; }
    // What the list says about one copy: its name, and where it will open when that differs.
    static QString describe(const RecoveredScript &vScript);

private:
    QTreeWidget *m_list;
    Choice m_choice = Choice::Later;
};

#endif // DRECOVERY_H
