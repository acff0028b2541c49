#pragma once

#include "qtservice.h"

#include <QCoreApplication>
#include <QTemporaryFile>
#include <QThread>
#include <QTimer>

#include <cstdio>
#include <functional>
#include <unistd.h>

inline const QString kServiceName = QStringLiteral("zuk3srv");

/// The arguments of the only application object, which a test exchanges.
inline int g_argc = 0;
inline char *g_argv[16] = {};

/// A service that notes what it is asked to do.
class NotedService : public QtService<QCoreApplication>
{
public:
    using Note = std::function<void(const QString &)>;

    explicit NotedService(
        std::shared_ptr<ServiceManager> manager, Note note = [](const QString &) {}, const QString &name = kServiceName)
        : QtService<QCoreApplication>(g_argc, g_argv, name, std::move(manager)), m_note(std::move(note))
    {
        setServiceDescription(QStringLiteral("ZUK3 server"));
    }

    /// Called within the named operation.
    std::function<void(const QString &)> onOperation = [](const QString &) {};

protected:
    void start() override { operate("start", true); }
    void stop() override { operate("stop", true); }
    void pause() override { operate("pause", false); }
    void resume() override { operate("resume", false); }
    void processCommand(int code) override { operate("command " + QByteArray::number(code), false); }

private:
    void operate(const QByteArray &name, bool armsWork)
    {
        const QString operation = QString::fromLatin1(name);
        const bool isInLoop = QThread::currentThread() == qApp->thread() && QThread::currentThread()->loopLevel() > 0;
        m_note(operation + (isInLoop ? "" : " outside the loop"));
        onOperation(operation);
        if (armsWork)
            QTimer::singleShot(0, [this, operation] { m_note(operation + " work"); });
    }

    Note m_note;
};

/// What a program gives back to its caller.
struct Outcome {
    int exitCode = -1;
    QString output;
    QString error;
    QStringList diagnostics;
};

inline QStringList g_diagnostics;

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

    Outcome outcome;
    g_diagnostics.clear();
    const auto handler = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &text) { g_diagnostics.append(text); });
    QTemporaryFile files[2];
    int kept[2];
    for (int i = 0; i < 2; ++i) {
        std::fflush(nullptr);
        kept[i] = dup(i + 1);
        if (files[i].open())
            dup2(files[i].handle(), i + 1);
    }
    outcome.exitCode = run();
    std::fflush(nullptr);
    for (int i = 0; i < 2; ++i) {
        dup2(kept[i], i + 1);
        close(kept[i]);
        files[i].seek(0);
    }
    qInstallMessageHandler(handler);
    outcome.output = QString::fromUtf8(files[0].readAll());
    outcome.error = QString::fromUtf8(files[1].readAll());
    outcome.diagnostics = g_diagnostics;
    return outcome;
}
