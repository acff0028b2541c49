#pragma once

#include "qany.h"

#include <QString>
#include <QStringList>
#include <QVector>

namespace tools::zukterm {

/// What one run of the terminal simulator is told to do.
struct TermOptions {
    static constexpr int kMaxTerminals = 60000;  ///< more than one address has ports for
    static constexpr int kMaxRows = 10000000;    ///< that are generated, for each terminal
    static constexpr int kMaxRatePerS = 1000000; ///< of generated events

    struct Call {
        QString method; ///< "service.method"
        QAny params;
    };

    QString host = QStringLiteral("127.0.0.1");
    quint16 port = 3501;
    bool admin = false; ///< log in as administration clients
    int firstNumber = 1;
    int terminals = 1;
    int silent = 0; ///< the last so many answer nothing

    // Recorded while there was no server.
    QString logsFile;
    QString eventsFile;
    QString picturesFolder;
    int offlineLogs = 0;   ///< for each terminal
    int offlineEvents = 0; ///< for each terminal
    int offlineHours = 8;

    // Sent to the server.
    QVector<QAny> events; ///< rows without terminal
    QString sendFile;
    QVector<qint64> users;
    double ratePerS = 0; ///< of generated events, over all terminals
    qint64 count = 0;    ///< of generated events; 0 without end
    int inFlight = 1;    ///< unanswered events of one terminal
    QStringList logTexts;
    QVector<Call> calls;

    bool once = false;
    int durationMs = 0;     ///< 0 without end
    int reconnectMs = 2000; ///< 0 never
    int timeoutMs = 30000;
    bool quiet = false;

    int lastNumber() const { return firstNumber + terminals - 1; }
    /// Those that talk.
    int activeTerminals() const { return terminals - silent; }
};

/// Reads the command line, the program's name first; the reason when it cannot be understood, else empty.
/// *told receives the help or the version when it was asked for.
QString readTermOptions(const QStringList &arguments, TermOptions &options, QString *told);

} // namespace tools::zukterm
