#include "storage/sidefiles.h"

#include <QDateTime>
#include <QFile>

#include <algorithm>
#include <cstdio>

namespace storage {

namespace {

/// The file system's own: QFile would copy where it cannot rename, and so end SQLite's locks.
bool rename(const QString &from, const QString &to)
{
    return !QFile::exists(to) &&
           std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

QString freeName(const QString &name, const QString &stamp)
{
    const QString wanted = name + QLatin1String(".old-") + stamp;
    QString free = wanted;
    for (int i = 2; QFile::exists(free); ++i)
        free = wanted + QStringLiteral("-%1").arg(i);
    return free;
}

} // namespace

void SideFiles::note(const QString &path)
{
    m_files.clear();
    for (const char *suffix : {"-wal", "-shm"}) {
        const QString name = path + QLatin1String(suffix);
        m_files.push_back({name, FileState::of(name), QString()});
    }
}

void SideFiles::noteMissing()
{
    for (SideFile &file : m_files) {
        if (!file.state.isFile)
            file.state = FileState::of(file.name);
    }
}

QStringList SideFiles::setAside()
{
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss"));
    QStringList names;
    for (SideFile &file : m_files) {
        if (!file.aside.isEmpty() || !file.state.isSameFile(FileState::of(file.name)))
            continue;
        const QString aside = freeName(file.name, stamp);
        if (!rename(file.name, aside))
            continue;
        file.aside = aside;
        names += aside;
    }
    return names;
}

bool SideFiles::isAnyAside() const
{
    return std::any_of(m_files.begin(), m_files.end(), [](const SideFile &file) { return !file.aside.isEmpty(); });
}

bool SideFiles::takeBack()
{
    bool isBack = false;
    for (SideFile &file : m_files) {
        if (file.aside.isEmpty() || !file.state.isSameFile(FileState::of(file.aside)))
            continue;
        if (!rename(file.aside, file.name))
            return false;
        file.aside.clear();
        isBack = true;
    }
    return isBack;
}

} // namespace storage
