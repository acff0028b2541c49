#pragma once

#include <QString>
#include <QStringList>

#include <memory>

class QIODevice;
class QTextCodec;
class QTextDecoder;

namespace tools::zukimport {

/// One record of a CSV file.
struct CsvRecord {
    /// Line on which the record begins, from 1; a quoted field may hold further lines.
    int line = 0;
    QStringList fields;
    /// Why the record cannot be used; empty for a good one.
    QString fault;
};

/// Reads CSV text record by record in one pass, as RFC 4180 has it: fields may be quoted, a quoted field may hold
/// delimiters, line ends and doubled quotes. Lines end with LF, CRLF or CR; empty lines are skipped; a byte order mark
/// is dropped.
///
/// The device is the caller's, open for reading, and outlives the reader. One thread; nothing throws.
class CsvReader
{
public:
    /// A quote that is never closed would otherwise gather the rest of a large file in one field.
    static constexpr int kMaxRecordChars = 1 << 20;

    CsvReader(QIODevice &device, const QTextCodec &codec, QChar delimiter);
    ~CsvReader();

    /// The next record, also a faulty one; false at the end.
    bool next(CsvRecord &record);

private:
    Q_DISABLE_COPY(CsvReader)
    enum class State { FieldStart, Plain, Quoted, QuoteInQuoted };

    bool readChar(QChar &c);
    bool fill();
    void endField(CsvRecord &record);
    void fail(CsvRecord &record, const QString &why);

    QIODevice &m_device;
    std::unique_ptr<QTextDecoder> m_decoder;
    QChar m_delimiter;
    QString m_chunk;
    int m_position = 0;
    int m_line = 1;
    int m_recordChars = 0;
    bool m_started = false;
    bool m_ended = false;
    bool m_afterCr = false;
    QString m_field;
};

} // namespace tools::zukimport
