#pragma once

#include <QByteArray>
#include <QString>

namespace server::reader {

/// Follows a file that another program appends lines to. Looks when it is asked, by poll(), and has the file open only
/// while it reads from it, so that the other program may replace or delete it.
///
/// Knows of the file its size alone: one that was replaced by a longer one is read on from the old place. Used on one
/// thread at a time.
class CsvFollower
{
public:
    /// What a poll found; the numbers are fixed.
    enum Result {
        Missing = -3, ///< there is no such file
        Shrunk = -2,  ///< shorter than it was: truncated or replaced
        Failed = -1,  ///< anything else: no regular file, no right to it, a fault of the disk
        NothingNew = 0,
        NewLine = 1,
    };

    /// Of a longer line only so much is kept: a file without line ends does not fill the memory.
    static constexpr int kMaxLineBytes = 4 * 1024 * 1024;
    /// Read at once. Large enough that opening the file costs little beside it.
    static constexpr qint64 kBlockBytes = 256 * 1024;

    explicit CsvFollower(const QString &path) : m_path(path) {}

    /// Reads one more complete line, or tells why there is none. What stands behind the last line feed waits for it.
    Result poll();
    /// The line of the latest poll that found one, without its line feed and without any carriage return.
    const QByteArray &line() const { return m_line; }
    /// Begins the file anew.
    void reset();

private:
    bool nextLine();
    bool readBlock();
    void keep(const char *bytes, int length);

    QString m_path;
    qint64 m_knownSize = 0;
    qint64 m_lineStart = 0; ///< offset of the first byte that no line was made of
    qint64 m_readTo = 0;    ///< offset behind the last byte that was read
    QByteArray m_block;     ///< the latest of these
    int m_blockAt = 0;      ///< how far it is used
    QByteArray m_partial;   ///< beginning of a line that has not ended
    QByteArray m_line;
    bool m_readFailed = false;
};

} // namespace server::reader
