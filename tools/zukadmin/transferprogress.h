#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>

/// Shows how far a transfer is, in one line of standard error that is gone when the object ends. Only where people see
/// it. Needs an event loop.
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
    ~TransferProgress() override;

    static QString line(const QString &what, const State &state);

private:
    void show(const QString &line);

    const QString m_what;
    const std::function<State()> m_state;
    QTimer m_timer;
    int m_shown = 0; // characters on the screen
};
