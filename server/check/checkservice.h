#pragma once

#include "qany.h"

#include <QObject>
#include <QString>

#include <functional>

namespace server::check {

/// What the services behind the login of terminals and of administration clients have in common: the database, the
/// recalculation and the files. Without signals and slots of its own: the concrete services declare them, because
/// remote methods are found in the concrete class alone, and hand over here.
///
/// Lives on the main thread. Flags in results are the Strings "true" and "false". Parameters are not validated: a
/// missing one reads as the empty String, and the database reports what follows from it.
class CheckService : public QObject
{
protected:
    /// Row levels of the journal.
    enum Level { Information = 0, Success = 1, Error = 3 };

    /// The accessor finds the sessions of the service's callers; null before start and after stop.
    template <typename Sessions>
    CheckService(Sessions *(*sessions)(), QObject *parent)
        : QObject(parent), m_numberOf([sessions](const QString &connectionId) {
              return sessions() ? sessions()->terminalNumber(connectionId) : -1;
          })
    {
    }

    /// The diagnostic line with which every method begins. Returns the caller's number, -1 when it is not logged in.
    int begin(const char *logName, const QString &connectionId, const QAny &params) const;

    /// One row of the journal, group 0.
    static void journal(Level level, const QString &message, const QAny &data = QAny());

    static QAny query(const QAny &params);
    static bool execute(const QAny &params);
    static QAny insertRow(const QAny &params);
    /// Leaves the answer to a worker thread where there are some and the call came through the RPC controller.
    QAny recalculate(const QString &connectionId, const QAny &params);

    /// Decodes "FILE" into the folder "DIR" below the program's own. Tells the decoded size.
    static QAny storeFile(const QAny &params, qint64 *size = nullptr);
    /// {"DATA": content in Base64}; Null when the file cannot be read.
    static QAny readFile(const QAny &params, const char *logName);
    /// Name of the file that "DIR" and "FNAME" mean, relative to the working directory.
    static QString fileName(const QAny &params);

    static QAny flag(bool value);

private:
    std::function<int(const QString &connectionId)> m_numberOf;
};

} // namespace server::check
