#pragma once

#include "storage/reader.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QVector>

namespace page::office {

/// Sees what others have changed in the file. Of a reader whose connection stays the same: `PRAGMA data_version` tells
/// that of one connection alone. The reader is not owned and must outlive it; on its thread.
///
/// New rows tell whom they are of. That something else was changed (settings, schedules, calendar, staff, roles) is
/// seen by the content of those tables, which is looked at no more often than kSettingsPaceMs. A change of neither is
/// taken for one of a stored event, except where the server's own log has grown too, which it does all the time: then
/// it is not seen.
class Watch
{
public:
    static constexpr int kSettingsPaceMs = 10000;

    struct Change {
        QVector<qint64> employees; ///< who has new events, or requests that are new or have changed
        bool requests = false;     ///< the lists of requests
        bool all = false;          ///< anything may have
        bool fault = false;        ///< the file could not be read; the next look tells what this one would have

        bool isAny() const { return !employees.isEmpty() || requests || all; }
    };

    explicit Watch(storage::Reader &reader, int settingsPaceMs = kSettingsPaceMs);

    /// Since the last look; of the first one nothing. Cheap where nothing was written.
    Change look();

private:
    struct State {
        qint64 version = -1;
        QVector<qint64> newest; ///< by watched table
        qint64 log = -1;
    };

    bool readState(State *state);
    bool readNewRows(const State &state, Change *change);
    bool readSettings(QByteArray *digest);

    storage::Reader &m_reader;
    int m_settingsPaceMs;
    State m_last;
    QByteArray m_settings;
    QElapsedTimer m_sinceSettings;
    bool m_isSettingsDue = false;
};

} // namespace page::office
