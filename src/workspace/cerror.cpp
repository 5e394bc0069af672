#include "cerror.h"

#include <QMessageBox>
#include <QString>

CError::CError(QObject *parent)
    : QObject(parent)
{ }

void CError::warning(const QString &vText) const
{
    QMessageBox box(QMessageBox::Warning, tr("Warning"), vText, QMessageBox::Ok);
    box.exec();
}
