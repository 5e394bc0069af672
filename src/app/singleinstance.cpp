#include "singleinstance.h"

#include <QDebug>
#include <QLocalSocket>

#include <memory>

const QString SingleInstance::serverName = QStringLiteral("tovrel-gui-application-server");

namespace {
constexpr int kWaitMsecs = 30000;
}

SingleInstance::SingleInstance(QObject *parent)
    : QObject(parent)
{
    // Another account must not be able to make this studio open files.
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, &SingleInstance::on_newConnection);
}

SingleInstance::~SingleInstance()
{
    m_server.close();
    qDebug() << "Connection closed";
}

bool SingleInstance::hasPrevious(const QString &name, const QStringList &arguments)
{
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(name, QIODevice::ReadWrite);
    qDebug() << "Conecting to server " << name;
    if (!socket->waitForConnected(kWaitMsecs)) {
        qDebug() << "Error : " << socket->errorString();
        return false;
    }
    // The receiver decodes UTF-8: names outside Latin-1's ASCII part arrive altered, as they
    // always have between studio versions.
    const QByteArray message = arguments.join(QLatin1Char(',')).toLatin1();
    qDebug() << "Sending Arguments to server : " << message;
    socket->write(message);
    socket->waitForBytesWritten(kWaitMsecs);
    return true;
}

void SingleInstance::listen(const QString &name)
{
    // A socket file left by a studio that crashed would otherwise block the name.
    QLocalServer::removeServer(name);
    m_server.listen(name);
    qDebug() << "start listening";
}

bool SingleInstance::handOverOrServe(const QString &vFileName, QObject *vOwner,
                                     const std::function<void(const QString &)> &vOpen)
{
    auto *instance = new SingleInstance(vOwner);
    if (instance->hasPrevious(serverName, QStringList {vFileName})) {
        qDebug() << "Another Instance Running";
        return true;
    }
    instance->listen(serverName);
    connect(instance, &SingleInstance::readyRead, vOwner ? vOwner : instance, vOpen);
    return false;
}

void SingleInstance::on_newConnection()
{
    qDebug() << "New Connection";
    m_socket = m_server.nextPendingConnection();
    if (!m_socket)
        return;
    // An older connection that speaks up later is not read: only the current one is served. A
    // process started without a file sends no bytes at all, so its message (the empty name) is
    // taken when it hangs up.
    QLocalSocket *socket = m_socket;
    const auto serve = [this, socket] {
        if (socket == m_socket)
            on_readyRead();
    };
    connect(socket, &QLocalSocket::readyRead, this, serve);
    connect(socket, &QLocalSocket::disconnected, this, serve);
    Q_EMIT newConnection();
}

void SingleInstance::on_readyRead()
{
    if (!m_socket)
        return;
    // One message a connection: whatever has arrived now is the message.
    const QString message = QString::fromUtf8(m_socket->readAll());
    qDebug() << "Message received : " << message;
    Q_EMIT readyRead(message);
    m_socket->deleteLater();
    m_socket = nullptr;
}
