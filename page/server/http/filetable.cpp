#include "page/server/http/filetable.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace page::http {

namespace {

constexpr int kNotModified = 304;
const QString kCompressedSuffix = QStringLiteral(".gz");

QByteArray typeOf(const QString &name)
{
    const QByteArray text = "text/plain; charset=utf-8";
    static const QHash<QString, QByteArray> types = {
        {"html", "text/html; charset=utf-8"},
        {"css", "text/css; charset=utf-8"},
        {"js", "text/javascript; charset=utf-8"},
        {"mjs", "text/javascript; charset=utf-8"},
        {"json", "application/json"},
        {"webmanifest", "application/manifest+json"},
        {"svg", "image/svg+xml"},
        {"png", "image/png"},
        {"ico", "image/x-icon"},
        {"woff2", "font/woff2"},
        {"txt", text},
        {"", text}, // licences
    };
    return types.value(QFileInfo(name).suffix(), "application/octet-stream");
}

/// Whether a list of weights takes it: "gzip;q=0" does not.
bool acceptsGzip(const Request &request)
{
    const QList<QByteArray> codings = request.header("accept-encoding").toLower().split(',');
    for (const QByteArray &coding : codings) {
        const QList<QByteArray> parts = coding.split(';');
        if (parts[0].trimmed() != "gzip")
            continue;
        const QByteArray weight = parts.value(1).trimmed();
        return !weight.startsWith("q=") || weight.mid(2).toDouble() > 0;
    }
    return false;
}

bool isKnownToClient(const Request &request, const QByteArray &tag)
{
    const QList<QByteArray> known = request.header("if-none-match").split(',');
    for (const QByteArray &one : known) {
        QByteArray said = one.trimmed();
        if (said.startsWith("W/"))
            said.remove(0, 2);
        if (said == tag || said == "*")
            return true;
    }
    return false;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

FileTable::Variant FileTable::variantOf(const QByteArray &content)
{
    constexpr int kTagBytes = 16;
    const QByteArray hash = QCryptographicHash::hash(content, QCryptographicHash::Sha256);
    return {content, '"' + hash.left(kTagBytes).toHex() + '"'};
}

void FileTable::add(const QString &name, const QByteArray &content, const QByteArray &compressed)
{
    File file;
    file.type = typeOf(name);
    file.plain = variantOf(content);
    if (!compressed.isEmpty() && compressed.size() < content.size())
        file.compressed = variantOf(compressed);
    m_files.insert('/' + name.toUtf8(), file);
    if (name == QLatin1String("index.html"))
        m_files.insert("/", file);
}

void FileTable::addFolder(const QString &resourceFolder)
{
    QDirIterator files(resourceFolder, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        if (!path.endsWith(kCompressedSuffix))
            add(path.mid(resourceFolder.size() + 1), contentOf(path), contentOf(path + kCompressedSuffix));
    }
}

/// No name has a version in it: who keeps a file asks whether it still is the one.
Response FileTable::answer(const Request &request) const
{
    const File file = m_files.value(request.path);
    const bool isCompressed = !file.compressed.content.isEmpty() && acceptsGzip(request);
    const Variant &variant = isCompressed ? file.compressed : file.plain;
    Response response;
    response.headers = {{"ETag", variant.tag}, {"Cache-Control", "no-cache"}, {"Vary", "Accept-Encoding"}};
    if (isKnownToClient(request, variant.tag)) {
        response.status = kNotModified;
        return response;
    }
    response.type = file.type;
    response.body = variant.content;
    if (isCompressed)
        response.add("Content-Encoding", "gzip");
    return response;
}

} // namespace page::http
