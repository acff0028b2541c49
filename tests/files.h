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

/// A whole file; "no file" when it cannot be read.
inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}
