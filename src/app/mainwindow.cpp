#include "mainwindow.h"

#include "application.h"
#include "singleinstance.h"

#include <QCoreApplication>
#include <QDebug>

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
{
    setWindowTitle(QStringLiteral("Tovrel Studio"));
    resize(1024, 720);
    connect(this, &MainWindow::do_open, this, &MainWindow::on_open);
    if (auto *application = qobject_cast<Application *>(QCoreApplication::instance()))
        connect(application, &Application::do_open, this, &MainWindow::on_open);
}

bool MainWindow::handOverToRunningInstance(const QString &vFileName)
{
    return SingleInstance::handOverOrServe(vFileName, this,
                                           [this](const QString &v) { on_open(v); });
}

void MainWindow::on_open(const QString &fileName)
{
    qDebug() << " ~ on_open ~ " << fileName;
}
