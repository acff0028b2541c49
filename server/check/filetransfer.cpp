#include "filetransfer.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

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
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        return false;
    if (file.size() <= kMaxFileBytes)
        return encode(file, base64);
    qWarning() << "FileTransfer::encode more than" << kMaxFileBytes << "bytes:" << path;
    return false;
}

bool FileTransfer::encode(QIODevice &device, QString *base64)
{
    base64->clear();
    base64->reserve(static_cast<int>((device.size() / kBytesPerGroup + 1) * kCharsPerGroup));
    QByteArray piece(kGroupsPerPiece * kBytesPerGroup, Qt::Uninitialized);
    int filled = 0;
    qint64 length = 0;
    // Only a whole piece has no padding; a pipe gives less than it is asked for.
    while ((length = device.read(piece.data() + filled, piece.size() - filled)) > 0) {
        filled += static_cast<int>(length);
        if (filled == piece.size()) {
            base64->append(QLatin1String(piece.toBase64()));
            filled = 0;
        }
    }
    base64->append(QLatin1String(piece.left(filled).toBase64()));
    return length == 0;
}

bool FileTransfer::decode(const QString &base64, const QString &path, qint64 *size)
{
    *size = 0;
    QFile file(path);
    const bool ok = file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    if (ok && decode(base64, file, size) && file.flush())
        return true;
    qWarning() << "FileTransfer::decode can't write" << path << file.errorString();
    return false;
}

bool FileTransfer::decode(const QString &base64, QIODevice &device, qint64 *size)
{
    *size = 0;
    bool ok = true;
    QByteArray piece;
    piece.reserve(kGroupsPerPiece * kCharsPerGroup);
    const auto write = [&] {
        const QByteArray content = QByteArray::fromBase64(piece);
        *size += content.size();
        ok = ok && device.write(content) == content.size();
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
    return ok;
}
