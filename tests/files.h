#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// Writes a whole file. Its path; empty when it cannot.
inline QString writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() ? path : QString();
}

/// The same, and it can be run.
inline bool writeProgram(const QString &path, const QByteArray &content)
{
    return !writeFile(path, content).isEmpty() &&
           QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

/// A whole file.
inline QByteArray contentOf(const QString &path, const QByteArray &missing = "no file")
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : missing;
}
