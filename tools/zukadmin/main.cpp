#include "tools/common/console.h"
#include "tools/zukadmin/admincommand.h"
#include "tools/zukadmin/adminoptions.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <cstdio>

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2 };

int fail(ExitCode code, const QString &fault)
{
    std::fputs(QStringLiteral("zukadmin: %1\n").arg(fault).toUtf8().constData(), stderr);
    return code;
}

bool print(const QByteArray &output)
{
    return std::fwrite(output.constData(), 1, static_cast<size_t>(output.size()), stdout) ==
               static_cast<size_t>(output.size()) &&
           std::fflush(stdout) == 0;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    Console::prepare();
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    AdminOptions options;
    QString help;
    QString mistake = readAdminOptions(QCoreApplication::arguments(), &options, &help);
    if (!help.isEmpty())
        return print(help.toUtf8()) ? kDone : kFailed;
    AdminJob job;
    if (mistake.isEmpty()) {
        job = options.command->prepare(options, &mistake);
        if (!mistake.isEmpty())
            mistake = options.command->usage() + QStringLiteral(": ") + mistake;
    }
    if (!mistake.isEmpty())
        return fail(kUsage, mistake + QStringLiteral(" (--help shows more)"));

    AdminSession session(options.timeoutMs > 0 ? options.timeoutMs : options.command->timeoutS * 1000);
    const QString refusal = session.open(options.host, options.port, options.number);
    if (!refusal.isEmpty())
        return fail(kFailed, refusal);
    const CommandResult result = job(session);
    if (!print(result.output))
        return fail(kFailed, QStringLiteral("the output cannot be written"));
    return result.fault.isEmpty() ? kDone : fail(kFailed, result.fault);
}
