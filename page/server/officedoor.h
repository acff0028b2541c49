#pragma once

#include "page/server/office/person.h"
#include "qany.h"

#include <QByteArray>
#include <QString>
#include <QUrlQuery>
#include <QVector>

#include <memory>
#include <optional>

namespace calc {
class Crew;
}

namespace storage {
class Reader;
}

namespace page {

/// What the page's server asks of the office. Functions that are const are called on any thread, by several at a time;
/// the others on the main thread.
class OfficeDoor
{
public:
    using Person = office::Person;
    using Now = office::Now;

    /// What has changed in the file since the last look.
    struct Change {
        QVector<qint64> employees; ///< who has new or other rows
        bool requests = false;     ///< the lists of requests
        bool all = false;          ///< anything may have

        bool isAny() const { return !employees.isEmpty() || requests || all; }
    };
    /// Looks at a file through one reader. Cheap where nothing has changed.
    class Watch
    {
    public:
        virtual ~Watch() = default;
        virtual Change look() = 0;
    };
    struct Export {
        QString fileName;
        QByteArray content; ///< CSV in UTF-8, or PDF
    };

    virtual ~OfficeDoor() = default;

    /// Null where name or password is wrong. `fault`: the file could not be read, and the result says nothing.
    virtual std::optional<Person> signIn(storage::Reader &reader, const QString &name, const QString &password,
                                         bool *fault) const = 0;
    /// As of now; null when it is no longer active.
    virtual std::optional<Person> lookAgain(storage::Reader &reader, const Person &person, bool *fault) const = 0;

    /// Which of the two answers an ask.
    virtual bool isWriting(const QAny &ask) const = 0;
    /// Whether reading takes long, so that it makes way for other reading.
    virtual bool isLarge(const QAny &ask) const = 0;
    /// A Hash that belongs to the caller, with "ok".
    virtual QAny read(calc::Crew &crew, const Person &person, const QAny &ask, const Now &now) const = 0;
    virtual QAny write(const Person &person, const QAny &ask, const Now &now) = 0;

    /// Of a path below "/export/"; null where there is nothing for this person. `fault` as above.
    virtual std::optional<Export> exported(calc::Crew &crew, const Person &person, const QString &path,
                                           const QUrlQuery &query, const Now &now, bool *fault) const = 0;
    /// The reader must outlive it.
    virtual std::unique_ptr<Watch> watch(storage::Reader &reader) const = 0;
    /// Whether the person may see more of somebody of this department than that they are there.
    virtual bool overlooks(const Person &person, const QString &department) const = 0;

protected:
    OfficeDoor() = default;

private:
    Q_DISABLE_COPY(OfficeDoor)
};

/// The one to the office that works on the database file.
std::unique_ptr<OfficeDoor> openOffice(const QString &databasePath);

} // namespace page
