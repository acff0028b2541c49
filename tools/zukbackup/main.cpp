#include "options/programend.h"
#include "storage/filecopy.h"
#include "tools/zukbackup/backupoptions.h"
#include "tools/zukbackup/copyfolder.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>

using namespace tools::zukbackup;

namespace {

enum ExitCode { Done = 0, NoCopy = 1, NotRotated = 3 };

int check(const BackupOptions &options)
{
    QString rows;
    const QString fault = storage::checkDatabase(options.checked, &rows);
    if (!fault.isEmpty())
        return failWith(NoCopy, fault);
    std::printf("zukbackup: %s is good: %s\n", qUtf8Printable(options.checked), qUtf8Printable(rows));
    return Done;
}

int backUp(const BackupOptions &options)
{
    QElapsedTimer timer;
    timer.start();
    const CopyReport report = makeCopy(options.database, options.folder, options.label, options.rotation);
    if (!report.fault.isEmpty())
        return failWith(NoCopy, report.fault);
    if (!options.isQuiet) {
        constexpr double kMegabyte = 1e6;
        constexpr double kSecond = 1000;
        std::printf("zukbackup: %s is good: %.1f MB in %.1f s: %s\n", qUtf8Printable(report.path),
                    double(report.bytes) / kMegabyte, double(timer.elapsed()) / kSecond, qUtf8Printable(report.rows));
    }
    return report.rotationFault.isEmpty() ? Done : failWith(NotRotated, report.rotationFault);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    BackupOptions options;
    QString told;
    const QString fault = readBackupOptions(QCoreApplication::arguments(), &options, &told);
    if (const auto end = endAfterOptions(fault, told))
        return *end;
    return options.checked.isEmpty() ? backUp(options) : check(options);
}
