#ifndef APPLICATION_H
#define APPLICATION_H

#include <QApplication>

// Turns the operating system's requests to open a file into do_open, which the main window
// handles like any other file it is asked to open.
class Application : public QApplication
{
    Q_OBJECT
public:
    Application(int &argc, char **argv);

    bool event(QEvent *e) override;

Q_SIGNALS:
    void do_open(QString fileName);
};

#endif // APPLICATION_H
