#pragma once

#include <QString>

class QTextStream;

namespace tools::zukimport {

/// What an import did and what it could not do. Lines are written to the stream as they come up, since a bad file may
/// have as many as it has lines; the stream is the caller's and outlives the report.
class ImportReport
{
public:
    /// The exit code of the program.
    enum Outcome { AllImported = 0, SomeRefused = 1, NothingDone = 2 };

    struct Counts {
        qint64 added = 0;
        /// Already there, from an earlier import or as a repeated line.
        qint64 skipped = 0;
    };

    explicit ImportReport(QTextStream &stream) : m_stream(stream) {}

    /// A line of an input file of which nothing is stored.
    void refuse(const QString &file, int line, const QString &reason);
    /// A line that is stored in a way its writer should know.
    void note(const QString &file, int line, const QString &text);
    /// Ends the import: nothing is stored.
    void fail(const QString &reason);
    void summarize(bool dryRun);

    Outcome outcome() const;

    Counts employees;
    Counts events;
    Counts days;
    /// Days that were there and have become holidays.
    qint64 holidaysSet = 0;

private:
    void write(const char *kind, const QString &file, int line, const QString &text);

    QTextStream &m_stream;
    qint64 m_refused = 0;
    qint64 m_notes = 0;
    bool m_failed = false;
};

} // namespace tools::zukimport
