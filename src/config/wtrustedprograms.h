#ifndef WTRUSTEDPROGRAMS_H
#define WTRUSTEDPROGRAMS_H

#include "enginetrust.h"

#include <QGroupBox>

class QPushButton;
class QTreeWidget;

// The Preferences list of programs the user lets scripts start ("Always for this script"), with
// Forget and Forget all. Edits stay in the list until store() writes them.
class WTrustedPrograms : public QGroupBox
{
    Q_OBJECT
public:
    explicit WTrustedPrograms(QWidget *parent = nullptr);

    // Shows the remembered grants, discarding edits.
    void load();
    // Stores the grants still listed.
    void store() const;

private:
    void forgetSelected();
    void forgetAll();
    void updateButtons();

    QList<EngineTrust::Grant> m_grants;
    QTreeWidget *m_list;
    QPushButton *m_forget;
    QPushButton *m_forgetAll;
};

#endif // WTRUSTEDPROGRAMS_H
