#include "storage/rescue.h"

#include <QDebug>

#include <algorithm>

namespace storage {

namespace {

const QString kOwner = QStringLiteral("OWNER");
const QString kWrite = QStringLiteral("WRITE");

Rescue *theRescue = nullptr;

} // namespace

Rescue::Rescue(const QString &databasePath) : m_file(databasePath + QStringLiteral("-rescue"))
{
    const QList<QByteArray> lines = m_file.lines();
    for (const QByteArray &line : lines) {
        const QAny left = QAny::fromJson(line);
        m_left.push_back({left.lookup(kOwner).toString().toUtf8(), left.lookup(kWrite)});
    }
    m_held = m_left.size();
    if (m_held > 0)
        qWarning() << "Rescue::Rescue" << m_held << "writes of the former run are stored now";
}

std::vector<QAny> Rescue::take(const QByteArray &owner)
{
    std::vector<QAny> writes;
    const auto isOwners = [&](const Left &left) { return left.owner == owner; };
    for (const Left &left : m_left) {
        if (isOwners(left))
            writes.push_back(left.write);
    }
    m_left.erase(std::remove_if(m_left.begin(), m_left.end(), isOwners), m_left.end());
    return writes;
}

bool Rescue::add(const QByteArray &owner, const std::vector<QAny> &writes)
{
    QList<QByteArray> lines;
    for (const QAny &write : writes)
        lines.append(QAny{{kOwner, QString::fromUtf8(owner)}, {kWrite, write}}.toJsonUtf8());
    if (!m_file.append(lines))
        return false;
    m_held += writes.size();
    return true;
}

void Rescue::release(size_t count)
{
    m_held -= std::min(count, m_held);
    if (m_held == 0 && count > 0)
        m_file.clear();
}

Rescue *rescue()
{
    return theRescue;
}

void setRescue(Rescue *instance)
{
    theRescue = instance;
}

} // namespace storage
