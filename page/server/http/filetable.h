#pragma once

#include "page/server/http/response.h"

#include <QHash>
#include <QString>

namespace page::http {

/// The files that are served, all in memory: no request ever looks for one anywhere else.
class FileTable
{
public:
    /// Under the path "/" and its name; "index.html" also under "/". What is compressed (gzip) may be empty.
    void add(const QString &name, const QByteArray &content, const QByteArray &compressed);
    /// All of a folder of Qt's resources. A file of the name with ".gz" behind it is the other, compressed.
    void addFolder(const QString &resourceFolder);

    bool contains(const QByteArray &path) const { return m_files.contains(path); }
    /// Of a path that it contains: the file, or that it has not changed.
    Response answer(const Request &request) const;

private:
    struct Variant {
        QByteArray content;
        QByteArray tag; ///< in its quotes
    };
    struct File {
        QByteArray type;
        Variant plain;
        Variant compressed; ///< empty where it would not be shorter
    };

    static Variant variantOf(const QByteArray &content);

    QHash<QByteArray, File> m_files; // by path
};

} // namespace page::http
