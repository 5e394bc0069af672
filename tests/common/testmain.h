#ifndef TESTMAIN_H
#define TESTMAIN_H

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>

// Every test process gets its own settings, cache and runtime folders, made before anything
// can create a QSettings, so a test never reads or writes the user's real preferences.
class TestEnvironment
{
public:
    TestEnvironment()
    {
        if (!m_root.isValid()) {
            std::fprintf(stderr, "cannot create a temporary folder for the test environment\n");
            std::abort();
        }
        const QString root = m_root.path();
        for (const char *name : {"config", "cache", "runtime", "data", "home", "tmp"})
            QDir(root).mkpath(QLatin1String(name));
        QFile::setPermissions(root + "/runtime",
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                  | QFileDevice::ExeOwner);
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(root + "/config"));
        qputenv("XDG_CACHE_HOME", QFile::encodeName(root + "/cache"));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(root + "/runtime"));
        qputenv("XDG_DATA_HOME", QFile::encodeName(root + "/data"));
        // Local sockets live in the temporary folder: a test's studio never meets another's.
        qputenv("TMPDIR", QFile::encodeName(root + "/tmp"));
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QString path() const { return m_root.path(); }

private:
    QTemporaryDir m_root;
};

// Like QTEST_MAIN, with the environment above set up before the application object.
#define TOVREL_TEST_MAIN(TestObject) \
    int main(int argc, char *argv[]) \
    { \
        TestEnvironment environment; \
        QApplication app(argc, argv); \
        app.setAttribute(Qt::AA_Use96Dpi, true); \
        TestObject tc; \
        QTEST_SET_MAIN_SOURCE_PATH \
        return QTest::qExec(&tc, argc, argv); \
    }

#endif // TESTMAIN_H
