#pragma once

#include "server/service/qtservice.h"

#include <QCoreApplication>
#include <QTemporaryFile>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <cstdio>
#include <functional>
#include <unistd.h>

inline const QString kServiceName = QStringLiteral("zuk3srv");

/// The arguments of the only application object, which a test exchanges.
inline int g_argc = 0;
inline char *g_argv[16] = {};

/// A service that notes what it is asked to do, within the operation.
class NotedService : public QtService<QCoreApplication>
{
public:
    using Note = std::function<void(const QString &)>;

    explicit NotedService(
        std::shared_ptr<server::service::ServiceManager> manager, Note note = [](const QString &) {},
        const QString &name = kServiceName)
        : QtService<QCoreApplication>(g_argc, g_argv, name, std::move(manager)), m_note(std::move(note))
    {
        setServiceDescription(QStringLiteral("ZUK3 server"));
    }

protected:
    void start() override { operate("start", true); }
    void stop() override { operate("stop", true); }
    void pause() override { operate("pause", false); }
    void resume() override { operate("resume", false); }
    void processCommand(int code) override { operate("command " + QString::number(code), false); }

private:
    void operate(const QString &operation, bool armsWork)
    {
        const bool isInLoop = QThread::currentThread() == qApp->thread() && QThread::currentThread()->loopLevel() > 0;
        m_note(operation + (isInLoop ? "" : " outside the loop"));
        if (armsWork)
            QTimer::singleShot(0, [this, operation] { m_note(operation + " work"); });
    }

    Note m_note;
};

/// The rows of a test of command lines: the service's state, what the program gives back, what it requests of the
/// manager, and what is special about that.
class CommandRows
{
public:
    CommandRows()
    {
        QTest::addColumn<QString>("state");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QStringList>("requests");
        QTest::addColumn<QString>("manager");
    }
    void done(const char *name, const char *state, const QStringList &arguments, const QString &output = {},
              const QStringList &requests = {}, const QString &manager = {})
    {
        QTest::newRow(name) << state << arguments << "0|" + output + "|" << requests << manager;
    }
    void failed(const char *name, const char *state, const QStringList &arguments, const QString &error = {},
                const QStringList &requests = {}, const QString &manager = {})
    {
        QTest::newRow(name) << state << arguments << "1||" + error << requests << manager;
    }

    const QString installed = "The service zuk3srv has been installed under: " + qApp->applicationFilePath() + "\n";
    const QString notInstallable = "The service zuk3srv could not be installed\n";
    const QString installedAlready = "The service zuk3srv is already installed\n";
    const QString uninstalled = "The service zuk3srv has been uninstalled.\n";
    const QString notInstalled = "The service zuk3srv is not installed\n";
    const QString version = "The service\n\tzuk3srv\n\t%1\n\nis %2\n\n";
    const QString notStarted = "The service zuk3srv could not start\n";
    const QString notStopped = "The service could not be stopped.";
};

/// What a program gives back to its caller.
struct Outcome {
    QString result; // "exit code|output|error output"
    QStringList diagnostics;
};

/// Runs with the arguments, the streams caught.
inline Outcome runCaught(const QStringList &arguments, const std::function<int()> &run)
{
    static QList<QByteArray> texts;
    texts = {QByteArrayLiteral("/odd path/zuk3server")};
    for (const QString &argument : arguments)
        texts.append(argument.toLocal8Bit());
    g_argc = 0;
    for (QByteArray &text : texts)
        g_argv[g_argc++] = text.data();
    g_argv[g_argc] = nullptr;

    static QStringList diagnostics;
    diagnostics.clear();
    const auto handler = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &text) { diagnostics.append(text); });
    QTemporaryFile files[2];
    int kept[2];
    std::fflush(nullptr);
    for (int i = 0; i < 2; ++i) {
        kept[i] = dup(i + 1);
        if (files[i].open())
            dup2(files[i].handle(), i + 1);
    }
    QString result = QString::number(run());
    std::fflush(nullptr);
    for (int i = 0; i < 2; ++i) {
        dup2(kept[i], i + 1);
        close(kept[i]);
        files[i].seek(0);
        result += '|' + QString::fromUtf8(files[i].readAll());
    }
    qInstallMessageHandler(handler);
    return {result, diagnostics};
}
