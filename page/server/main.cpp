#include "options/programend.h"
#include "page/server/pageoptions.h"
#include "page/server/pageserver.h"
#include "report/paperapplication.h"
#include "report/sheetwriter.h"
#include "server/process/descriptorlimit.h"
#include "server/process/diagnostics.h"
#include "server/process/localtime.h"
#include "server/process/terminationwatch.h"
#include "server/service/managernotice.h"

#include <QDebug>
#include <QLoggingCategory>

#include <cstdio>

namespace {

constexpr int kCannotListen = 1;

QString placeOf(const QHostAddress &address, quint16 port)
{
    const bool isV6 = address.protocol() == QAbstractSocket::IPv6Protocol;
    return (isV6 ? '[' + address.toString() + ']' : address.toString()) + ':' + QString::number(port);
}

int serve(const page::PageOptions &options)
{
    // Before the start, so that no early signal ends it halfway.
    const server::process::TerminationWatch watch;
    const QString noPrint = report::loadPaperFonts();
    if (!noPrint.isEmpty())
        qWarning() << "zukpage: no PDF can be made:" << qUtf8Printable(noPrint);
    page::PageServer::Options all;
    all.databasePath = options.database;
    all.origin = options.origin;
    page::PageServer server(all, page::openOffice(options.database), page::pageFiles());
    const QString fault = server.open(options.address, options.port);
    if (!fault.isEmpty())
        return failWith(kCannotListen, "cannot listen on " + placeOf(options.address, options.port) + ": " + fault);
    if (!options.origin && !options.address.isLoopback())
        qWarning() << "zukpage: passwords go through the net as they are; see --origin";
    std::printf("zukpage: http://%s/\n", qUtf8Printable(placeOf(options.address, server.port())));
    std::fflush(stdout);
    server::service::ManagerNotice notice;
    notice.tellReady();
    const int result = QCoreApplication::exec();
    server::service::ManagerNotice::tellStopping();
    return result;
}

} // namespace

int main(int argc, char *argv[])
{
    server::process::guardDiagnostics();
    server::process::keepTimeZone();
    const report::PaperApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zukpage"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZUK_VERSION));
    server::process::raiseDescriptorLimit();
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));

    page::PageOptions options;
    QString told;
    const QString fault = page::readPageOptions(QCoreApplication::arguments(), &options, &told);
    if (const auto end = endAfterOptions(fault, told))
        return *end;
    return serve(options);
}
