// What a second studio process sends to the running one: the bytes arrive on the real local
// socket and the running studio hands on the file name it decoded.
#include "app/singleinstance.h"
#include "fuzzapp.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLocalSocket>

namespace {
struct Server
{
    SingleInstance instance;
    QString name;
    QString received;
    bool arrived = false;
    Server()
        : name(QStringLiteral("tovrel-fuzz-%1").arg(QCoreApplication::applicationPid()))
    {
        instance.listen(name);
        QObject::connect(&instance, &SingleInstance::readyRead, [this](const QString &v) {
            received = v;
            arrived = true;
        });
    }
};
} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::application();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *vData, size_t vSize)
{
    static Server *server = new Server;
    if (vSize == 0)
        return 0;
    server->arrived = false;
    QLocalSocket client;
    client.connectToServer(server->name);
    if (!client.waitForConnected(1000))
        abort();
    client.write(fuzz::bytes(vData, vSize));
    client.flush();
    client.disconnectFromServer();
    QElapsedTimer waited;
    waited.start();
    while (!server->arrived && waited.elapsed() < 2000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    // A large message may come in pieces; the first piece is what the studio acts on.
    if (!server->arrived)
        abort();
    return 0;
}
