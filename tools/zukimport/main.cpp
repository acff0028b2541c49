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

    tools::zukimport::ImportOptions options;
    QString help;
    const QString fault = tools::zukimport::readImportOptions(QCoreApplication::arguments(), options, &help);
    if (!help.isEmpty()) {
        out << help;
        return 0;
    }
    tools::zukimport::ImportReport report(out);
    if (fault.isEmpty())
        tools::zukimport::runImport(options, report);
    else
        report.fail(fault);
    return report.outcome();
}
