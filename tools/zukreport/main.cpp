#include "options/programend.h"
#include "report/outputs.h"
#include "report/paperapplication.h"
#include "report/reporting.h"
#include "storage/readconnection.h"
#include "tools/common/console.h"
#include "tools/zukreport/reportoptions.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLoggingCategory>

#include <cstdio>

using namespace tools::zukreport;

namespace {

enum ExitCode { kDone = 0, kFailed = 1 };

/// Tells somebody who waits how far it is, on a line of its own that is wiped at the end.
class ProgressLine
{
public:
    ProgressLine() { m_timer.start(); }
    ~ProgressLine()
    {
        if (m_isShown)
            std::fputs("\r\x1b[K", stderr);
    }
    void show(size_t done, size_t all)
    {
        constexpr qint64 kPatienceMs = 1500;
        if (!m_isTerminal || m_timer.elapsed() < kPatienceMs)
            return;
        m_isShown = true;
        std::fprintf(stderr, "\rzukreport: %zu of %zu employees", done, all);
        std::fflush(stderr);
    }

private:
    Q_DISABLE_COPY(ProgressLine)

    const bool m_isTerminal = Console::isTerminal(stderr);
    QElapsedTimer m_timer;
    bool m_isShown = false;
};

/// All that is read is of one state of the file.
QString beginReading(storage::ReadConnection &reader, const QString &path)
{
    if (!QFileInfo(path).isFile())
        return QStringLiteral("%1: no such file").arg(path);
    if (!reader.isOpen())
        return QStringLiteral("%1 cannot be opened as a database").arg(path);
    if (reader.beginRead())
        return {};
    return QStringLiteral("%1 cannot be read: another program holds it, or it is no database").arg(path);
}

QString makeFiles(ReportOptions &options)
{
    if (options.format == report::Format::Pdf) {
        const QString fault = report::loadPaperFonts();
        if (!fault.isEmpty())
            return fault;
    }
    storage::ReadConnection reader(options.database);
    QString fault = beginReading(reader, options.database);
    if (!fault.isEmpty())
        return fault;
    const QDateTime now = QDateTime::currentDateTime();
    options.job.now = {now.toSecsSinceEpoch(), now.date()};
    report::Outputs outputs(options.output, options.format,
                            {options.job.language, now.toString(QStringLiteral("d. M. yyyy HH:mm"))});
    fault = outputs.open();
    if (!fault.isEmpty())
        return fault;
    ProgressLine progress;
    fault = report::makeReport(
        reader, options.job, [&outputs](const report::Sheet &sheet) { return outputs.write(sheet); },
        [&progress](size_t done, size_t all) { progress.show(done, all); });
    return fault.isEmpty() ? outputs.commit() : fault;
}

} // namespace

int main(int argc, char *argv[])
{
    const report::PaperApplication application(argc, argv);
    Console::prepare();
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\nqt.qpa.*=false"));
    ReportOptions options;
    QString told;
    const QString mistake = readReportOptions(QCoreApplication::arguments(), QDate::currentDate(), &options, &told);
    if (const auto end = endAfterOptions(mistake, told))
        return *end;
    const QString fault = makeFiles(options);
    return fault.isEmpty() ? kDone : failWith(kFailed, fault);
}
