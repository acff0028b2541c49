#include "server/reader/csvfollower.h"

#include <QFile>

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace server::reader {

namespace {

std::filesystem::path nativePath(const QString &path)
{
#ifdef Q_OS_WIN
    return path.toStdWString();
#else
    return QFile::encodeName(path).toStdString();
#endif
}

/// The size in bytes, or a result below 0.
qint64 sizeOf(const QString &path)
{
    const std::filesystem::path native = nativePath(path);
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(native, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return CsvFollower::Missing;
    // Opening a pipe or a device might wait for ever.
    if (!std::filesystem::is_regular_file(status))
        return CsvFollower::Failed;
    const auto size = std::filesystem::file_size(native, error);
    return error ? qint64(CsvFollower::Failed) : static_cast<qint64>(size);
}

} // namespace

CsvFollower::Result CsvFollower::poll()
{
    m_readFailed = false;
    if (nextLine())
        return NewLine;
    const qint64 size = sizeOf(m_path);
    if (size < 0) {
        // What comes back may be another file: the line is read again from its start.
        m_readTo = m_lineStart;
        m_partial.clear();
        return static_cast<Result>(size);
    }
    if (size < m_knownSize)
        return Shrunk;
    if (size > m_knownSize) {
        m_knownSize = size;
        if (nextLine())
            return NewLine;
    }
    return m_readFailed ? Failed : NothingNew;
}

void CsvFollower::reset()
{
    *this = CsvFollower(m_path);
}

/// Goes on where it stopped: no byte is looked at twice.
bool CsvFollower::nextLine()
{
    do {
        const char *const begin = m_block.constData() + m_blockAt;
        const int left = m_block.size() - m_blockAt;
        const auto *const end = left > 0 ? static_cast<const char *>(std::memchr(begin, '\n', left)) : nullptr;
        const int length = end ? static_cast<int>(end - begin) : left;
        keep(begin, length);
        m_blockAt += length;
        if (end) {
            ++m_blockAt;
            m_lineStart = m_readTo - (m_block.size() - m_blockAt);
            m_line.swap(m_partial);
            m_partial.resize(0); // keeps its memory for the next line
            return true;
        }
    } while (readBlock());
    return false;
}

/// The next bytes up to the known size; false when there are none, or they cannot be read.
bool CsvFollower::readBlock()
{
    m_block.clear();
    m_blockAt = 0;
    if (m_readTo >= m_knownSize || sizeOf(m_path) < 0)
        return false;
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || !file.seek(m_readTo)) {
        m_readFailed = true;
        return false;
    }
    m_block = file.read(std::min(kBlockBytes, m_knownSize - m_readTo));
    m_readTo += m_block.size();
    m_readFailed = file.error() != QFileDevice::NoError;
    return !m_block.isEmpty();
}

void CsvFollower::keep(const char *bytes, int length)
{
    const char *const end = bytes + length;
    while (bytes < end && m_partial.size() < kMaxLineBytes) {
        const auto *const found = static_cast<const char *>(std::memchr(bytes, '\r', end - bytes));
        const char *const stop = found ? found : end;
        m_partial.append(bytes, std::min(static_cast<int>(stop - bytes), kMaxLineBytes - m_partial.size()));
        bytes = stop + (found ? 1 : 0);
    }
}

} // namespace server::reader
