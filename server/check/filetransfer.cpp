#include "server/check/filetransfer.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

namespace {

constexpr int kBytesPerGroup = 3; // of content, as
constexpr int kCharsPerGroup = 4; // of text
constexpr int kGroupsPerPiece = 256 * 1024;

/// Of a path in the diagnostics; a peer may have chosen it.
constexpr int kShownChars = 1000;

constexpr int kBitsPerChar = 6;
constexpr quint8 kForeign = 0xff;

/// What each character stands for; kForeign for those that are none of the 64.
struct Alphabet {
    constexpr Alphabet()
    {
        quint8 value = 0;
        for (quint8 &one : values)
            one = kForeign;
        for (const char16_t c : u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/") {
            if (c != u'\0')
                values[c] = value++;
        }
    }
    constexpr quint8 operator[](QChar c) const { return c.unicode() < 128 ? values[c.unicode()] : kForeign; }

    quint8 values[128] = {};
};
constexpr Alphabet kAlphabet;

/// What goes to a device in large pieces.
class PieceWriter
{
public:
    explicit PieceWriter(QIODevice &device)
        : m_device(device), m_piece(kGroupsPerPiece * kBytesPerGroup, Qt::Uninitialized), m_end(m_piece.data())
    {
    }

    /// The first bytes of a group of three, the highest in the bits first.
    void add(quint32 bits, int bytes = kBytesPerGroup)
    {
        m_end[0] = static_cast<char>(bits >> 16);
        m_end[1] = static_cast<char>(bits >> 8);
        m_end[2] = static_cast<char>(bits);
        m_end += bytes;
        if (m_end == m_piece.constData() + m_piece.size())
            flush();
    }
    bool flush()
    {
        const qint64 length = m_end - m_piece.constData();
        m_ok = m_ok && m_device.write(m_piece.constData(), length) == length;
        m_end = m_piece.data();
        m_size += length;
        return m_ok;
    }
    /// Of all that was flushed.
    qint64 size() const { return m_size; }

private:
    QIODevice &m_device;
    QByteArray m_piece;
    char *m_end;
    qint64 m_size = 0;
    bool m_ok = true;
};

} // namespace

bool FileTransfer::encode(const QString &path, QString *base64)
{
    QFile file(path);
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        return false;
    if (file.size() <= kMaxFileBytes)
        return encode(file, base64);
    qWarning() << "FileTransfer::encode more than" << kMaxFileBytes << "bytes:" << path.left(kShownChars);
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
    qWarning() << "FileTransfer::decode can't write" << path.left(kShownChars) << file.errorString();
    return false;
}

bool FileTransfer::decode(const QString &base64, QIODevice &device, qint64 *size)
{
    PieceWriter writer(device);
    quint32 bits = 0;
    int chars = 0; // of the group
    for (const QChar c : base64) {
        const quint8 value = kAlphabet[c];
        if (value == kForeign)
            continue;
        bits = bits << kBitsPerChar | value;
        if (++chars == kCharsPerGroup) {
            writer.add(bits);
            chars = 0;
        }
    }
    // A last group lacks what would be padding; a single character is no whole byte.
    if (chars > 1)
        writer.add(bits << (kCharsPerGroup - chars) * kBitsPerChar, chars - 1);
    const bool ok = writer.flush();
    *size = writer.size();
    return ok;
}
