#include "tools/zukterm/rowfile.h"

#include "jsonparser.h"

#include <QFile>

#include <algorithm>

namespace tools::zukterm {

namespace {

/// Walks over the text of a file, counting lines.
class RowScanner
{
public:
    RowScanner(const QByteArray &text, QVector<FileRow> *rows)
        : m_at(text.constData()), m_end(m_at + text.size()), m_rows(rows)
    {
        if (text.startsWith("\xEF\xBB\xBF"))
            m_at += 3;
    }

    /// What is wrong in line(), or empty.
    QString scan()
    {
        skipBlanks();
        return m_at != m_end && *m_at == '[' ? scanArray() : scanLines();
    }
    int line() const { return m_line; }

private:
    QString scanLines()
    {
        for (; m_at != m_end; skipBlanks()) {
            const char *end = std::find(m_at, m_end, '\n');
            const QString fault = scanRow(end);
            if (!fault.isEmpty())
                return fault;
            skipBlanks(end);
            if (m_at != end)
                return QStringLiteral("more than one row in a line");
        }
        return {};
    }

    QString scanArray()
    {
        ++m_at;
        skipBlanks();
        for (bool first = true; m_at != m_end && *m_at != ']'; first = false) {
            if (!first) {
                if (*m_at != ',')
                    return QStringLiteral("a comma is missing between two rows");
                ++m_at;
                skipBlanks();
            }
            const QString fault = scanRow(m_end);
            if (!fault.isEmpty())
                return fault;
            skipBlanks();
        }
        if (m_at == m_end)
            return QStringLiteral("the array does not end");
        ++m_at;
        skipBlanks();
        return m_at == m_end ? QString() : QStringLiteral("text behind the array");
    }

    QString scanRow(const char *end)
    {
        if (m_at == m_end || *m_at != '{')
            return QStringLiteral("a row must be a JSON object");
        const int firstLine = m_line;
        qsizetype taken = 0;
        const Json::Parser::Feed fed = m_parser.feedUntilComplete(m_at, end - m_at, &taken);
        pass(m_at + taken);
        if (fed == Json::Parser::NeedsMore)
            return QStringLiteral("the row that begins in line %1 does not end").arg(firstLine);
        if (fed == Json::Parser::Rejected || !m_parser.finish())
            return QStringLiteral("not valid JSON");
        m_rows->append({m_parser.result(), firstLine});
        return {};
    }

    void skipBlanks() { skipBlanks(m_end); }
    void skipBlanks(const char *end)
    {
        pass(std::find_if(m_at, end, [](char c) { return c != ' ' && c != '\t' && c != '\r' && c != '\n'; }));
    }
    void pass(const char *to)
    {
        m_line += static_cast<int>(std::count(m_at, to, '\n'));
        m_at = to;
    }

    const char *m_at;
    const char *m_end;
    int m_line = 1;
    Json::Parser m_parser;
    QVector<FileRow> *m_rows;
};

} // namespace

QString readRowFile(const QString &fileName, QVector<FileRow> *rows)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("%1: %2").arg(fileName, file.errorString());
    const QByteArray text = file.readAll();
    RowScanner scanner(text, rows);
    const QString fault = scanner.scan();
    return fault.isEmpty() ? QString() : QStringLiteral("%1, line %2: %3").arg(fileName).arg(scanner.line()).arg(fault);
}

} // namespace tools::zukterm
