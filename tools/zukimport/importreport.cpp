#include "tools/zukimport/importreport.h"

#include <QFileInfo>
#include <QTextStream>

namespace tools::zukimport {

void ImportReport::write(const char *kind, const QString &file, int line, const QString &text)
{
    m_stream << kind << ' ' << QFileInfo(file).fileName() << ':' << line << ": " << text << '\n';
}

void ImportReport::refuse(const QString &file, int line, const QString &reason)
{
    ++m_refused;
    write("refused", file, line, reason);
}

void ImportReport::note(const QString &file, int line, const QString &text)
{
    ++m_notes;
    write("note", file, line, text);
}

void ImportReport::fail(const QString &reason)
{
    m_failed = true;
    m_stream << "failed: " << reason << "; nothing was stored\n";
}

void ImportReport::summarize(bool dryRun)
{
    const auto row = [this](const char *what, const Counts &counts) {
        m_stream << what << counts.added << " added, " << counts.skipped << " skipped (already there)\n";
    };
    row("employees: ", employees);
    row("events:    ", events);
    row("days:      ", days);
    if (holidaysSet > 0)
        m_stream << "holidays:  " << holidaysSet << " set on days that were there\n";
    m_stream << "lines:     " << m_refused << " refused, " << m_notes << " with a note\n";
    if (dryRun)
        m_stream << "dry run: nothing was stored\n";
}

ImportReport::Outcome ImportReport::outcome() const
{
    const qint64 handled =
        employees.added + employees.skipped + events.added + events.skipped + days.added + days.skipped + holidaysSet;
    if (m_failed || (m_refused > 0 && handled == 0))
        return NothingDone;
    return m_refused > 0 ? SomeRefused : AllImported;
}

} // namespace tools::zukimport
