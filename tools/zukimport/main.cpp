#include "tools/zukimport/importer.h"
#include "tools/zukimport/importoptions.h"
#include "tools/zukimport/importreport.h"

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zukimport"));
    QTextStream out(stdout);
    out.setCodec("UTF-8");

    ImportOptions options;
    QString help;
    const QString fault = readImportOptions(QCoreApplication::arguments(), options, &help);
    if (!help.isEmpty()) {
        out << help;
        return 0;
    }
    ImportReport report(out);
    if (fault.isEmpty())
        runImport(options, report);
    else
        report.fail(fault);
    return report.outcome();
}
