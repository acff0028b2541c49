#pragma once

#include <QEventLoop>
#include <QProcess>
#include <QTimer>

/// A run of a command-line tool, whose server may be in this process.
class ToolRun : public QProcess
{
public:
    ToolRun(const QString &tool, const QStringList &arguments, const QByteArray &input = {})
    {
        start(tool, arguments);
        write(input);
        closeWriteChannel();
    }

    /// Waits for the end. The exit code; -1 when it crashed, did not start or does not end.
    int end()
    {
        QEventLoop loop;
        connect(this, &QProcess::stateChanged, &loop, [&loop](ProcessState now) {
            if (now == NotRunning)
                loop.quit();
        });
        QTimer::singleShot(60000, &loop, &QEventLoop::quit);
        if (state() != NotRunning)
            loop.exec();
        output = readAllStandardOutput();
        errors = QString::fromUtf8(readAllStandardError());
        return state() == NotRunning && exitStatus() == NormalExit ? exitCode() : -1;
    }
    QString text() const { return QString::fromUtf8(output); }
    /// The exit code and what it told.
    QString outcome()
    {
        const int code = end();
        return QString::number(code) + ' ' + text() + errors;
    }

    QByteArray output;
    QString errors;
};
