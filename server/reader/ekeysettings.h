#pragma once

#include <QString>

#include <array>

namespace server::reader {

/// Settings of the fingerprint reader's file, from "UlkaCsv.ini" in the current directory, group "CSVFILE".
struct EkeySettings {
    /// A reader as it stands in the file, and the terminal that stands for it.
    struct Reader {
        QString id;
        int terminal; ///< -1 where the settings hold no number
    };

    QString file = QStringLiteral("ekey.csv");
    bool isOn = false;
    /// As of QDateTime::fromString().
    QString dateFormat = QStringLiteral("d.M.yyyy hh:mm:ss");
    std::array<Reader, 5> readers = {{{QStringLiteral("1"), 1},
                                      {QStringLiteral("2"), 2},
                                      {QStringLiteral("3"), 3},
                                      {QStringLiteral("4"), 4},
                                      {QStringLiteral("5"), 5}}};

    /// What the file lacks is the default.
    static EkeySettings read();
    /// False when the file cannot be written.
    bool write() const;

    /// A reader that is none of these stands for the terminal of its own number; -1 when that is none.
    int terminalOf(const QString &reader) const;
};

} // namespace server::reader
