#include "startup.h"

#include "application.h"
#include "config/csettings.h"
#include "config/mconfiguration.h"
#include "config/msettings.h"
#include "darkstyle.h"
#include "documentsafety.h"
#include "mainwindow.h"

#include <QApplication>
#include <QStringList>
#include <QTimer>

StartUp::StartUp(Application &vApplication)
    : m_application(vApplication)
{ }

// The window goes before the configuration objects it reads from.
StartUp::~StartUp()
{
    m_mainWindow.reset();
}

bool StartUp::prepare()
{
    m_configuration = std::make_unique<MConfiguration>();
    m_configuration->load();
    m_settings = std::make_unique<MSettings>();
    m_settings->setImportSettingsEnabled(
        m_configuration->value(MConfiguration::ImportSettingsVisible).toBool());
    m_controller = std::make_unique<CSettings>(*m_settings);
    // With dark mode off the platform's own style and palette stay untouched.
    if (m_controller->darkModeSet())
        QApplication::setStyle(new DarkStyle);

    m_mainWindow = std::make_unique<MainWindow>();
    if (m_mainWindow->handOverToRunningInstance(fileNameFromArguments()))
        return false;

    Q_EMIT m_controller->do_apply();
    Q_EMIT m_controller->do_checkCommandLineTool();
    Q_EMIT m_mainWindow->do_open(fileNameFromArguments());
    if (fileNameFromArguments().trimmed().isEmpty())
        m_mainWindow->safety()->restoreSession();
    return true;
}

int StartUp::exec()
{
    m_mainWindow->show();
    // Asked once the window stands, so the recovered scripts open into it.
    DocumentSafety *safety = m_mainWindow->safety();
    QTimer::singleShot(0, safety, [safety] { safety->offerRecovery(); });
    return m_application.exec();
}

QString StartUp::fileNameFromArguments()
{
    // Only the first argument after the program path is a file to open; the rest are ignored.
    const QStringList arguments = QCoreApplication::arguments();
    return arguments.size() >= 2 ? arguments.at(1) : QString();
}
