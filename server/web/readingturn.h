#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QQueue>
#include <QTcpSocket>
#include <QTimer>

namespace server::web {

class ClientLine;

/// How long the frames of all web clients are read before the event loop looks at the other sockets again: a web
/// socket by itself reads all that has come, and answers pings without end. Who is not through waits for a later turn;
/// those who could read nothing go before those who could. Lives on the server's thread.
class ReadingTurn : public QObject
{
    Q_OBJECT
public:
    static constexpr qint64 kMaxNs = 500000;
    /// From the begin of a turn, which is its first reading, to the next.
    static constexpr int kBreathMs = 1;
    /// Who go on at the same turn: each costs something even where it gets to read nothing.
    static constexpr int kMaxLines = 16;

    explicit ReadingTurn(QObject *parent = nullptr);

    /// Nothing more may be read in this turn. To be asked before each reading, which begins the turn.
    bool isOver();
    /// The line goes on in a later turn, if it is still there.
    void wait(ClientLine *line, bool hasRead);

private:
    struct Waiting {
        QPointer<QTcpSocket> socket; ///< the line, as long as it is there
        ClientLine *line;
    };

    void goOn();

    QQueue<Waiting> m_hungry; // have read nothing since they waited before
    QQueue<Waiting> m_others;
    QElapsedTimer m_turn;
    QTimer m_breath; // single shot: a turn is under way
};

} // namespace server::web
