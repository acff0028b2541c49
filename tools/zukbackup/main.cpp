#include "storage/filecopy.h"
#include "tools/zukbackup/backupoptions.h"
#include "tools/zukbackup/copyfolder.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>

using namespace tools::zukbackup;

namespace {

enum ExitCode { Done = 0, NoCopy = 1, WrongUse = 2, NotRotated = 3 };

int failed(ExitCode code, const QString &reason)
{
    std::fprintf(stderr, "zukbackup: %s\n", qUtf8Printable(reason));
    return code;
}

int check(const BackupOptions &options)
{
    QString rows;
    const QString fault = storage::checkDatabase(options.checked, &rows);
    if (!fault.isEmpty())
        return failed(NoCopy, fault);
    std::printf("zukbackup: %s is good: %s\n", qUtf8Printable(options.checked), qUtf8Printable(rows));
    return Done;
}

int backUp(const BackupOptions &options)
{
    QElapsedTimer timer;
    timer.start();
    const CopyReport report = makeCopy(options.database, options.folder, options.label, options.rotation);
    if (!report.fault.isEmpty())
        return failed(NoCopy, report.fault);
    if (!options.isQuiet) {
        constexpr double kMegabyte = 1e6;
        constexpr double kSecond = 1000;
        std::printf("zukbackup: %s is good: %.1f MB in %.1f s: %s\n", qUtf8Printable(report.path),
                    double(report.bytes) / kMegabyte, double(timer.elapsed()) / kSecond, qUtf8Printable(report.rows));
    }
    return report.rotationFault.isEmpty() ? Done : failed(NotRotated, report.rotationFault);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    BackupOptions options;
    QString help;
    const QString fault = readBackupOptions(QCoreApplication::arguments(), &options, &help);
    if (!fault.isEmpty())
        return failed(WrongUse, fault);
    if (!help.isEmpty()) {
        std::fputs(qUtf8Printable(help), stdout);
        return Done;
    }
    return options.checked.isEmpty() ? backUp(options) : check(options);
}
