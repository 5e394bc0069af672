#ifndef STARTUP_H
#define STARTUP_H

#include <QString>

#include <memory>

class Application;
class CSettings;
class MConfiguration;
class MSettings;
class MainWindow;

// Brings the studio up in a fixed order: flags, settings, style, main window, single-instance
// check, settings applied, engine checked, the command-line file opened, the window shown.
class StartUp
{
public:
    explicit StartUp(Application &vApplication);
    ~StartUp();

    // Runs everything up to showing the window. Returns false when this process handed its file
    // to a studio that is already running and should end with exit code 0.
    bool prepare();
    // Shows the main window and runs the event loop; returns its exit code.
    int exec();

    MainWindow *mainWindow() const { return m_mainWindow.get(); }

private:
    static QString fileNameFromArguments();

    Application &m_application;
    std::unique_ptr<MConfiguration> m_configuration;
    std::unique_ptr<MSettings> m_settings;
    std::unique_ptr<CSettings> m_controller;
    std::unique_ptr<MainWindow> m_mainWindow;
};

#endif // STARTUP_H
