#ifndef FUZZAPP_H
#define FUZZAPP_H

// Shared set-up of the studio's fuzz targets: one offscreen application for the whole run, and
// modal boxes answered as soon as they show, the way a hurried user would, so an input that
// makes the code under test ask something does not stall the fuzzer.

#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QStandardPaths>
#include <QTimer>
#include <QtGlobal>

#include <cstdint>
#include <cstdlib>

namespace fuzz {

class ModalCloser : public QObject
{
protected:
    bool eventFilter(QObject *vWatched, QEvent *vEvent) override
    {
        if (vEvent->type() == QEvent::Show) {
            if (auto *dialog = qobject_cast<QDialog *>(vWatched); dialog && dialog->isModal())
                QTimer::singleShot(0, dialog, &QDialog::reject);
        }
        return false;
    }
};

inline void silentMessages(QtMsgType, const QMessageLogContext &, const QString &) {}

// Settings go to a private test location; the application lives until the process ends.
inline QApplication &application()
{
    static int argc = 1;
    static char name[] = "tovrel-fuzz";
    static char *argv[] = {name, nullptr};
    static QApplication *app = [] {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        QStandardPaths::setTestModeEnabled(true);
        qInstallMessageHandler(silentMessages);
        auto *created = new QApplication(argc, argv);
        created->installEventFilter(new ModalCloser);
        return created;
    }();
    return *app;
}

inline QString text(const uint8_t *vData, size_t vSize)
{
    return QString::fromUtf8(reinterpret_cast<const char *>(vData), qsizetype(vSize));
}

inline QByteArray bytes(const uint8_t *vData, size_t vSize)
{
    return QByteArray(reinterpret_cast<const char *>(vData), qsizetype(vSize));
}

} // namespace fuzz

#endif // FUZZAPP_H
