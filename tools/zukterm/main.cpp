#include "server/process/descriptorlimit.h"
#include "server/process/terminationwatch.h"
#include "tools/common/console.h"
#include "tools/zukterm/fleet.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <cstdio>
#include <memory>

using tools::zukterm::Fleet;
using tools::zukterm::TermInput;
using tools::zukterm::TermOptions;

namespace {

enum ExitCode { kOk = 0, kRefused = 1, kUsage = 2 };

int fail(const QString &fault)
{
    std::fputs(QStringLiteral("zukterm: %1\n").arg(fault).toUtf8().constData(), stderr);
    return kUsage;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    Console::prepare();
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    TermOptions options;
    QString help;
    QString fault = tools::zukterm::readTermOptions(QCoreApplication::arguments(), options, &help);
    if (!fault.isEmpty())
        return fail(fault + QStringLiteral(" (--help shows more)"));
    if (!help.isEmpty()) {
        std::fputs(help.toUtf8().constData(), stdout);
        return kOk;
    }
    TermInput input;
    fault = tools::zukterm::readTermInput(options, &input);
    if (!fault.isEmpty())
        return fail(fault);

    server::process::raiseDescriptorLimit();
    auto watch = std::make_unique<server::process::TerminationWatch>();
    Fleet fleet(options, input);
    input = TermInput();
    QObject::connect(&fleet, &Fleet::finished, &application, &QCoreApplication::quit);
    fleet.start();
    QCoreApplication::exec();
    watch.reset(); // a second signal ends the program at once
    fleet.finish();
    fleet.log().print(fleet.totals().summary());
    return fleet.totals().isClean() ? kOk : kRefused;
}
