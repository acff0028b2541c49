#include "tools/zukimport/csvtable.h"

#include "tools/zukimport/importreport.h"

#include <QTextCodec>

namespace tools::zukimport {

CsvTable::CsvTable(const QString &path, const CsvFormat &format, ImportReport &report)
    : m_file(path), m_format(format), m_report(report)
{
}

QString CsvTable::open()
{
    const QTextCodec *codec = QTextCodec::codecForName(m_format.encoding.toLatin1());
    if (!codec)
        return QStringLiteral("unknown encoding %1").arg(m_format.encoding);
    if (!m_file.open(QIODevice::ReadOnly))
        return QStringLiteral("%1: %2").arg(m_file.fileName(), m_file.errorString());
    m_reader = std::make_unique<CsvReader>(m_file, *codec, m_format.delimiter);
    if (!m_reader->next(m_record))
        return QStringLiteral("%1: the file is empty").arg(m_file.fileName());
    if (!m_record.fault.isEmpty())
        return QStringLiteral("%1: line %2: %3").arg(m_file.fileName()).arg(m_record.line).arg(m_record.fault);
    m_columnCount = m_record.fields.size();
    for (int i = 0; i < m_columnCount; ++i) {
        const QString name = m_record.fields.at(i).trimmed().toLower();
        if (m_columns.contains(name))
            return QStringLiteral("%1: two columns are named %2").arg(m_file.fileName(), m_record.fields.at(i));
        m_columns.insert(name, i);
    }
    return {};
}

bool CsvTable::next()
{
    while (m_reader->next(m_record)) {
        if (!m_record.fault.isEmpty())
            refuse(m_record.fault);
        else if (m_record.fields.size() != m_columnCount)
            refuse(QStringLiteral("%1 columns where the header has %2").arg(m_record.fields.size()).arg(m_columnCount));
        else
            return true;
    }
    return false;
}

void CsvTable::refuse(const QString &reason)
{
    m_report.refuse(m_file.fileName(), m_record.line, reason);
}

void CsvTable::note(const QString &text)
{
    m_report.note(m_file.fileName(), m_record.line, text);
}

} // namespace tools::zukimport
