#include "storage/rescue.h"

#include "jsonparser.h"
#include "storage/diskfile.h"

#include <QDebug>
#include <QFile>

#include <algorithm>

namespace storage {

namespace {

const QString kOwner = QStringLiteral("OWNER");
const QString kWrite = QStringLiteral("WRITE");

Rescue *theRescue = nullptr;

/// As it was written: a control character that a terminal sent is in it.
QAny readLine(const QByteArray &line)
{
    Json::Parser reader(Json::Parser::Controls::AsWritten);
    reader.feed(line.constData(), line.size());
    reader.finish();
    return reader.result();
}

} // namespace

Rescue::Rescue(const QString &databasePath) : m_file(databasePath + QStringLiteral("-rescue"))
{
    const QList<QByteArray> lines = m_file.lines();
    for (const QByteArray &line : lines) {
        const QAny left = readLine(line);
        m_left.push_back({left.lookup(kOwner).toString().toUtf8(), left.lookup(kWrite), line});
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

void Rescue::setAsideUntaken()
{
    if (m_left.empty())
        return;
    QFile file(m_file.path() + QStringLiteral("-unread"));
    bool isKept = file.open(QIODevice::Append | QIODevice::Unbuffered);
    for (const Left &left : m_left)
        isKept = isKept && file.write(left.line + '\n') == left.line.size() + 1;
    isKept = isKept && flushToDisk(file.handle());
    qWarning().noquote() << "Rescue::setAsideUntaken" << m_left.size() << "writes of the former run are nobody's,"
                         << (isKept ? "kept in" : "and could not be written to") << file.fileName();
    if (!isKept)
        return;
    release(m_left.size());
    m_left.clear();
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
