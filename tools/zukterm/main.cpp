#include "options/programend.h"
#include "server/process/descriptorlimit.h"
#include "server/process/terminationwatch.h"
#include "tools/common/console.h"
#include "tools/zukterm/fleet.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <memory>

using tools::zukterm::Fleet;
using tools::zukterm::TermInput;
using tools::zukterm::TermOptions;

namespace {

enum ExitCode { kOk = 0, kRefused = 1 };

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    Console::prepare();
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    TermOptions options;
    QString told;
    QString fault = tools::zukterm::readTermOptions(QCoreApplication::arguments(), options, &told);
    if (const auto end = endAfterOptions(fault, told))
        return *end;
    TermInput input;
    fault = tools::zukterm::readTermInput(options, &input);
    if (!fault.isEmpty())
        return failWith(kWrongUsage, fault);

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
