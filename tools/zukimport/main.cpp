#include "options/programend.h"
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
    QString told;
    const QString fault = tools::zukimport::readImportOptions(QCoreApplication::arguments(), options, &told);
    if (const auto end = endAfterOptions(fault, told))
        return *end;
    tools::zukimport::ImportReport report(out);
    tools::zukimport::runImport(options, report);
    return report.outcome();
}
