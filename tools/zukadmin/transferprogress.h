#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>

/// Shows how far a transfer or a wait is, in one line of standard error that is gone when the object ends. Only where
/// people see it. Needs an event loop.
class TransferProgress : public QObject
{
    Q_OBJECT
public:
    static constexpr int kIntervalMs = 200;

    /// In bytes of the file; a total below 0 is not known.
    struct State {
        qint64 done;
        qint64 total;
    };

    TransferProgress(const QString &what, std::function<State()> state);
    /// Of an answer that has to be made first: how long that takes, then how much has come of it, in bytes.
    TransferProgress(const QString &what, std::function<qint64()> received);
    ~TransferProgress() override;

    static QString line(const QString &what, const State &state);
    static QString waitingLine(const QString &what, qint64 waitedMs, qint64 received);

private:
    explicit TransferProgress(std::function<QString()> text);
    void show(const QString &line);

    const std::function<QString()> m_text;
    QTimer m_timer;
    int m_shown = 0; // characters on the screen
};
