#include "storage/rescuefile.h"

#include "storage/diskfile.h"
#include "storage/rescuelines.h"

#include <QDebug>

#include <utility>

namespace storage {

RescueFile::RescueFile(const QString &path, qint64 room) : m_path(path), m_room(room)
{
    if (!open())
        fail("can't be opened:");
}

bool RescueFile::open()
{
    const bool isNew = !QFile::exists(m_path);
    auto file = std::make_unique<QFile>(m_path);
    if (!file->open(QIODevice::ReadWrite | QIODevice::Unbuffered))
        return false;
    m_file = std::move(file);
    m_descriptor = m_file->handle();
    m_state = FileState::of(m_path);
    if (isNew) {
        // Of people's comings and goings.
        m_file->setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        flushFolderOf(m_path);
    }
    readBack();
    if (!takeRoom(*m_file, m_descriptor, m_room))
        qWarning().noquote() << "RescueFile: there is no room to take for" << m_path;
    return true;
}

/// Finds the whole lines of the last filling, and where the next one goes.
void RescueFile::readBack()
{
    m_file->seek(0);
    QByteArray content = m_file->read(RescueLines::kHeadSize + 1);
    if (RescueLines::isAnyIn(content))
        content += m_file->readAll();
    m_kept = RescueLines::parse(content);
    m_leftBehind = std::exchange(m_kept.lines, {});
    if (m_kept.isDamaged)
        qWarning().noquote() << "RescueFile: a damaged line was left out:" << m_path;
}

QList<QByteArray> RescueFile::lines()
{
    return std::exchange(m_leftBehind, {});
}

bool RescueFile::append(const QList<QByteArray> &lines)
{
    if (lines.isEmpty())
        return true;
    if (!ensureOpen())
        return fail("can't be opened:");
    const bool isFirst = m_kept.number == 0;
    QByteArray content = isFirst ? RescueLines::head(m_kept.filling) : QByteArray();
    qint64 number = m_kept.number;
    for (const QByteArray &line : lines)
        content += RescueLines::record(m_kept.filling, ++number, line);
    const qint64 position = isFirst ? 0 : m_kept.end;
    const qint64 end = position + content.size();
    if (end < m_file->size())
        content += '\0';
    if (!write(position, content)) {
        write(m_kept.end, QByteArray(1, '\0'));
        return fail("can't be written:");
    }
    m_kept.number = number;
    m_kept.end = end;
    m_hasFailed = false;
    return true;
}

bool RescueFile::clear()
{
    if (m_kept.number == 0)
        return true;
    if (!m_leftBehind.isEmpty())
        return false;
    // One byte, which is written or not.
    if (!write(RescueLines::kHeadSize, QByteArray(1, '\0')))
        return fail("can't be emptied:");
    m_kept = RescueLines::empty();
    if (m_file->size() > m_room)
        m_file->resize(m_room);
    return true;
}

/// Somebody who tidies the folder up must not take what is kept.
bool RescueFile::ensureOpen()
{
    if (!m_file)
        return open();
    return FileState::of(m_path).isSameFile(m_state) || (!QFile::exists(m_path) && createAnew());
}

/// The file was deleted while it is open: another with the same content takes its place.
bool RescueFile::createAnew()
{
    m_file->seek(0);
    const QByteArray content = m_kept.number > 0 ? m_file->read(m_kept.end) : QByteArray();
    QFile file(m_path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered) ||
        file.write(content) != content.size() || !flushToDisk(file.handle())) {
        file.remove();
        return false;
    }
    file.close();
    // What it finds there was given already, or waits.
    const QList<QByteArray> leftBehind = m_leftBehind;
    const bool isOpen = open();
    m_leftBehind = leftBehind;
    return isOpen;
}

bool RescueFile::write(qint64 position, const QByteArray &content)
{
    return m_file->seek(position) && m_file->write(content) == content.size() && flushToDisk(m_descriptor);
}

bool RescueFile::fail(const char *what)
{
    if (!m_hasFailed)
        qWarning().noquote() << "RescueFile: the file" << what << m_path;
    m_hasFailed = true;
    return false;
}

} // namespace storage
