#include "engineconsent.h"

#include "config/csettings.h"
#include "config/enginetrust.h"
#include "config/executablepath.h"

#include <QAbstractButton>
#include <QDir>
#include <QMessageBox>

bool EngineConsent::granted(QWidget *vParent, const QString &vScript, const QString &vEngine)
{
    EngineTrust trust(CSettings::instance());
    if (!trust.needsConsent(vScript, vEngine))
        return true;
    const QString program = QDir::toNativeSeparators(ExecutablePath::startedAs(vEngine));
    QMessageBox box(QMessageBox::Warning, tr("Warning!"),
                    tr("This script asks to be run by a program that is not one of your "
                       "engines:\n\n%1\n\nScript: %2\n\nRunning the script will start that "
                       "program on it, with your rights: it can read, change or delete your "
                       "files. Run it only if you trust the script and where it came from.")
                        .arg(program, QDir::toNativeSeparators(vScript)),
                    QMessageBox::Yes | QMessageBox::YesToAll | QMessageBox::Cancel, vParent);
    // Paths are shown as they are, never read as markup.
    box.setTextFormat(Qt::PlainText);
    box.button(QMessageBox::Yes)->setText(tr("Run"));
    box.button(QMessageBox::YesToAll)->setText(tr("Always for this script"));
    box.setDefaultButton(QMessageBox::Cancel);
    box.setEscapeButton(QMessageBox::Cancel);
    switch (box.exec()) {
    case QMessageBox::YesToAll:
        trust.grant(vScript, vEngine);
        return true;
    case QMessageBox::Yes:
        return true;
    default:
        return false;
    }
}
