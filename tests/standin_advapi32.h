#pragma once

#include <QHash>
#include <QRegularExpression>
#include <QStringList>

#include <chrono>
#include <condition_variable>
#include <mutex>

/// What the stand-in for the system library of Windows' services knows: a test steers it, and reads what happened. The
/// library gives its own by the function "standin". A breach of what the system asks of its callers becomes a line that
/// begins with "fault".
class Standin
{
public:
    struct Service {
        QString path, account, password, description;
        quint32 type = 0x10, startType = 2, state = 1, restartDelay = 0;
    };
    struct Handle {
        QString name; // of a service; of a log with "event" before it; empty: the manager's
        quint32 access = 0;
    };
    using Lock = std::unique_lock<std::recursive_mutex>;

    /// Forgets everything. The words, separated by semicolons, say how it behaves: "installed", "running", "denied",
    /// "failing", "by hand", "no dispatcher", "no handler", "endless" (the dispatcher), "late requests".
    void reset(const QString &words)
    {
        const Lock lock(mutex);
        switches = words.split(';');
        lines.clear();
        services.clear();
        controls.clear();
        state = 0;
        Service installed;
        installed.path = QStringLiteral(R"("C:\Program Files\zuk\zuk3server.exe")");
        installed.state = switches.contains("running") ? 4 : 1;
        if (switches.contains("installed") || switches.contains("running"))
            services["zuk3srv"] = installed;
    }
    void note(const QString &line)
    {
        const Lock lock(mutex);
        lines.append(line);
        changed.notify_all();
    }
    /// Waits until the line is noted.
    bool await(const QString &line)
    {
        Lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(20), [&] { return lines.contains(line); });
    }
    /// The manager's request; returns when the handler has, or the service has ended.
    void control(quint32 code)
    {
        Lock lock(mutex);
        controls.append(code);
        changed.notify_all();
        changed.wait(lock, [this] { return controls.isEmpty() || !isDispatching; });
    }
    /// What follows the beginning, a regular expression, in the lines that have it.
    QStringList journal(const QString &beginning = {})
    {
        const Lock lock(mutex);
        const QRegularExpression start("^(?:" + beginning + ')');
        return lines.filter(start).replaceInStrings(start, {});
    }

    // The services and handles are only for the thread that manages services, the rest is under the mutex.
    QHash<QString, Service> services;
    QHash<void *, Handle> handles;
    std::recursive_mutex mutex;
    std::condition_variable_any changed;
    QStringList switches, lines;
    QList<quint32> controls; // the first is being handled
    quint32 state = 0;
    bool isDispatching = false;
};
