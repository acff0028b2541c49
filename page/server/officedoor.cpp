#include "page/server/officedoor.h"

#include "page/server/office/office.h"
#include "page/server/office/storage.h"

#include <utility>

namespace page {

namespace {

class FileWatch final : public OfficeDoor::Watch
{
public:
    explicit FileWatch(storage::Reader &reader) : m_watch(reader) {}

    OfficeDoor::Change look() override
    {
        const office::Watch::Change change = m_watch.look();
        return {change.employees, change.requests, change.all};
    }

private:
    office::Watch m_watch;
};

class Office final : public OfficeDoor
{
public:
    explicit Office(const QString &databasePath) : m_storage(databasePath) {}

    std::optional<Person> signIn(storage::Reader &reader, const QString &name, const QString &password,
                                 bool *fault) const override
    {
        return office::signIn(reader, name, password, fault);
    }
    std::optional<Person> lookAgain(storage::Reader &reader, const Person &person, bool *fault) const override
    {
        return office::lookAgain(reader, person, fault);
    }
    bool isWriting(const QAny &ask) const override { return office::isWriting(ask); }
    bool isLarge(const QAny &ask) const override { return office::isLarge(ask); }
    QAny read(calc::Crew &crew, const Person &person, const QAny &ask, const Now &now) const override
    {
        return office::read(crew, person, ask, now);
    }
    QAny write(const Person &person, const QAny &ask, const Now &now) override
    {
        return office::write(m_storage, person, ask, now);
    }
    std::optional<Export> exported(calc::Crew &crew, const Person &person, const QString &path, const QUrlQuery &query,
                                   const Now &now, bool *fault) const override
    {
        const std::optional<office::Export> made = office::exported(crew, person, path, query, now, fault);
        if (!made)
            return {};
        return Export{made->fileName, made->content};
    }
    std::unique_ptr<Watch> watch(storage::Reader &reader) const override { return std::make_unique<FileWatch>(reader); }
    bool overlooks(const Person &person, const QString &department) const override
    {
        return office::overlooks(person, department);
    }

private:
    office::Storage m_storage;
};

} // namespace

std::unique_ptr<OfficeDoor> openOffice(const QString &databasePath)
{
    return std::make_unique<Office>(databasePath);
}

} // namespace page
