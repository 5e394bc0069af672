#ifndef MAINWINDOW_H
#define MAINWINDOW_H

#include <QMainWindow>

// The studio's main window. Every file the studio is asked to open, from the command line, the
// operating system or a second instance, arrives through on_open.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit MainWindow(QWidget *parent = nullptr);

    // True when another studio is already running and has been handed vFileName; this process
    // should then end. False when this process is the first one.
    bool handOverToRunningInstance(const QString &vFileName);

Q_SIGNALS:
    void do_open(QString fileName);

public Q_SLOTS:
    void on_open(const QString &fileName);
};

#endif // MAINWINDOW_H
