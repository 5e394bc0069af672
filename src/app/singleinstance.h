#ifndef SINGLEINSTANCE_H
#define SINGLEINSTANCE_H

#include <QLocalServer>
#include <QObject>
#include <QPointer>
#include <QStringList>

#include <functional>

class QLocalSocket;

// Lets one studio process serve the user: a starting process hands its file to the running one
// over a named local socket, or becomes the one later processes reach.
class SingleInstance : public QObject
{
    Q_OBJECT
public:
    // Shared by every studio on the machine; the server itself only admits the current user.
    static const QString serverName;

    explicit SingleInstance(QObject *parent = nullptr);
    ~SingleInstance() override;

    // Client side: true when a running studio accepted the connection and was sent vArguments.
    bool hasPrevious(const QString &name, const QStringList &arguments);
    // Server side: takes the name over, even from a studio that crashed, and listens on it.
    void listen(const QString &name);

    // The start-up check: true when a running studio was handed vFileName (this process should
    // then end); otherwise this process becomes the server, owned by vOwner, and every name a
    // later process sends goes to vOpen.
    static bool handOverOrServe(const QString &vFileName, QObject *vOwner,
                                const std::function<void(const QString &)> &vOpen);

Q_SIGNALS:
    void newConnection();
    void readyRead(QString message);

private Q_SLOTS:
    void on_newConnection();
    void on_readyRead();

private:
    QLocalServer m_server;
    // Only the newest connection is served; an older one is dropped with the server.
    QPointer<QLocalSocket> m_socket;
};

#endif // SINGLEINSTANCE_H
