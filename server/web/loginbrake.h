#pragma once

#include <QHash>
#include <QString>

#include <array>
#include <functional>
#include <map>

namespace server::web {

/// Slows down who guesses passwords: after kFailures failed logins of a name within kWindowMs, one more of that name is
/// tried each kPaceMs, wherever it comes from. Other names are not held up. How a name is written, in capitals or small
/// letters, makes no difference.
class LoginBrake
{
public:
    static constexpr int kFailures = 10;
    static constexpr qint64 kWindowMs = 60000;
    static constexpr qint64 kPaceMs = 1000;
    /// Names that are remembered. Of too many the one that failed least goes, of those the one that did so first.
    static constexpr int kMaxNames = 10000;

    /// Any time in ms that never goes back.
    using Clock = std::function<qint64()>;

    explicit LoginBrake(Clock clock = steadyTime, int maxNames = kMaxNames);

    /// Whether a login of the name may be tried now. If so it has to be; if not, ask again.
    bool allows(const QString &name);
    /// The login that was tried has failed.
    void failed(const QString &name);
    int count() const { return m_names.size(); }

    static qint64 steadyTime();

private:
    struct Record {
        std::array<qint64, kFailures> failures{}; ///< times, a ring
        int count = 0;                            ///< of failures, no more than the ring holds
        int next = 0;
        qint64 lastTried = 0;
        quint64 since = 0;
    };
    using Rank = std::pair<int, quint64>;

    static QString keyOf(const QString &name);
    static Rank rankOf(const Record &record) { return {record.count, record.since}; }
    bool isBraked(const Record &record) const;
    Record &recordOf(const QString &key);

    Clock m_clock;
    int m_maxNames;
    quint64 m_next = 0;
    QHash<QString, Record> m_names;
    std::map<Rank, QString> m_ranks; // the first goes first
};

} // namespace server::web
