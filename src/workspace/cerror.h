#ifndef CERROR_H
#define CERROR_H

#include <QObject>

class QString;

// Tells the user about a problem with a file. A QObject so its texts translate in its own context.
class CError : public QObject
{
    Q_OBJECT
public:
    explicit CError(QObject *parent = nullptr);

    // Shows a modal warning box with one OK button and returns once the user has closed it. The
    // box has no parent window, so it still shows while no main window exists.
    void warning(const QString &vText) const;
};

#endif // CERROR_H
