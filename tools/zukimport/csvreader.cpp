#include "tools/zukimport/csvreader.h"

#include <QIODevice>
#include <QTextCodec>

namespace tools::zukimport {

namespace {
constexpr qint64 kChunkBytes = 64 * 1024;
constexpr QChar kQuote = QLatin1Char('"');
constexpr QChar kLineFeed = QLatin1Char('\n');
constexpr QChar kCarriageReturn = QLatin1Char('\r');
} // namespace

CsvReader::CsvReader(QIODevice &device, const QTextCodec &codec, QChar delimiter)
    : m_device(device), m_decoder(codec.makeDecoder()), m_delimiter(delimiter)
{
}

CsvReader::~CsvReader() = default;

bool CsvReader::fill()
{
    while (!m_ended) {
        const QByteArray bytes = m_device.read(kChunkBytes);
        m_ended = bytes.isEmpty();
        m_chunk = m_decoder->toUnicode(bytes);
        m_position = 0;
        if (m_chunk.isEmpty())
            continue;
        if (!m_started && m_chunk.at(0) == QChar::ByteOrderMark)
            m_position = 1;
        m_started = true;
        if (m_position < m_chunk.size())
            return true;
    }
    return false;
}

bool CsvReader::readChar(QChar &c)
{
    if (m_position >= m_chunk.size() && !fill())
        return false;
    c = m_chunk.at(m_position++);
    if (c == kCarriageReturn || (c == kLineFeed && !m_afterCr))
        ++m_line;
    m_afterCr = c == kCarriageReturn;
    return true;
}

void CsvReader::endField(CsvRecord &record)
{
    if (record.fault.isEmpty())
        record.fields.append(m_field);
    m_field.clear();
}

void CsvReader::fail(CsvRecord &record, const QString &why)
{
    if (record.fault.isEmpty())
        record.fault = why;
}

bool CsvReader::next(CsvRecord &record)
{
    record.fields.clear();
    record.fault.clear();
    m_field.clear();
    m_recordChars = 0;
    State state = State::FieldStart;
    bool any = false;
    QChar c;
    for (;;) {
        const int line = m_line;
        const bool lineFeedOfCrLf = m_afterCr;
        if (!readChar(c)) {
            if (!any)
                return false;
            if (state == State::Quoted)
                fail(record, QStringLiteral("a quote is never closed"));
            endField(record);
            return true;
        }
        const bool lineEnd = c == kLineFeed || c == kCarriageReturn;
        if (!any) {
            if (lineEnd)
                continue;
            any = true;
            record.line = line;
        }
        if (++m_recordChars > kMaxRecordChars) {
            fail(record, QStringLiteral("longer than %1 characters").arg(kMaxRecordChars));
            m_field.clear();
        }
        if (c == QChar::ReplacementCharacter)
            fail(record, QStringLiteral("not valid in the given encoding"));

        if (state == State::Quoted) {
            if (c == kQuote)
                state = State::QuoteInQuoted;
            else if (c != kLineFeed || !lineFeedOfCrLf)
                m_field.append(c == kCarriageReturn ? kLineFeed : c);
            continue;
        }
        if (lineEnd) {
            endField(record);
            return true;
        }
        if (c == m_delimiter) {
            endField(record);
            state = State::FieldStart;
        } else if (c == kQuote && state == State::FieldStart) {
            state = State::Quoted;
        } else if (c == kQuote && state == State::QuoteInQuoted) {
            m_field.append(c);
            state = State::Quoted;
        } else if (state == State::QuoteInQuoted) {
            fail(record, QStringLiteral("text after a closing quote"));
        } else {
            m_field.append(c);
            state = State::Plain;
        }
    }
}

} // namespace tools::zukimport
