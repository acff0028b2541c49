#include "filetransfer.h"

#include <QDebug>
#include <QFile>

namespace {

constexpr int kBytesPerGroup = 3; // of content, as
constexpr int kCharsPerGroup = 4; // of text
constexpr int kGroupsPerPiece = 256 * 1024;

bool isBase64(QChar character)
{
    const char16_t c = character.unicode();
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
}

} // namespace

bool FileTransfer::encode(const QString &path, QString *base64)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    base64->clear();
    base64->reserve(static_cast<int>((file.size() / kBytesPerGroup + 1) * kCharsPerGroup));
    while (!file.atEnd()) {
        const QByteArray piece = file.read(kGroupsPerPiece * kBytesPerGroup);
        if (piece.isEmpty())
            break;
        base64->append(QLatin1String(piece.toBase64()));
    }
    return file.error() == QFileDevice::NoError;
}

bool FileTransfer::decode(const QString &base64, const QString &path, qint64 *size)
{
    *size = 0;
    QFile file(path);
    bool ok = file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    QByteArray piece;
    piece.reserve(kGroupsPerPiece * kCharsPerGroup);
    const auto write = [&] {
        const QByteArray content = QByteArray::fromBase64(piece);
        *size += content.size();
        ok = ok && file.write(content) == content.size();
        piece.clear();
        piece.reserve(kGroupsPerPiece * kCharsPerGroup);
    };
    for (const QChar character : base64) {
        if (!isBase64(character))
            continue;
        piece.append(static_cast<char>(character.unicode()));
        if (piece.size() == kGroupsPerPiece * kCharsPerGroup)
            write();
    }
    write();
    ok = ok && file.flush();
    if (!ok)
        qWarning() << "FileTransfer::decode can't write" << path << file.errorString();
    return ok;
}
