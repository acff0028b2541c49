#pragma once

#include <QByteArray>
#include <QList>

namespace storage {

/// What the rescue file holds, as bytes and as lines.
///
/// The file begins with a head that names one filling of it; then follows each kept line behind the name of its
/// filling, its number and a checksum, and a zero byte after the last. So whatever moment the process was killed at,
/// what is read back are whole lines of the last filling: a line that was not written to its end, and what an earlier
/// filling left behind the end, match no checksum or name another filling.
struct RescueLines {
    static constexpr int kHeadSize = 43;

    QList<QByteArray> lines;
    QByteArray filling;     ///< its name
    qint64 number = 0;      ///< of the last line; 0 in an empty file
    qint64 end = kHeadSize; ///< where the next line goes
    bool isDamaged = false; ///< something was left out

    /// A new filling.
    static RescueLines empty();
    static QByteArray head(const QByteArray &filling);
    static QByteArray record(const QByteArray &filling, qint64 number, const QByteArray &line);
    /// Whether a file that begins so, with one byte more than the head, holds lines.
    static bool isAnyIn(const QByteArray &content);
    static RescueLines parse(const QByteArray &content);
};

} // namespace storage
