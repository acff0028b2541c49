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

/// Why the server did not let us in; empty when it did, or none is needed.
QString run(const AdminJob &job, const AdminOptions &options, CommandResult *result)
{
    if (const auto *alone = std::get_if<std::function<CommandResult()>>(&job)) {
        *result = (*alone)();
        return {};
    }
    AdminSession session(options.timeoutMs > 0 ? options.timeoutMs : options.command->timeoutS * 1000);
    const QString refusal = session.open(options.host, options.port, options.number);
    if (refusal.isEmpty())
        *result = std::get<std::function<CommandResult(AdminSession &)>>(job)(session);
    return refusal;
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

    CommandResult result;
    const QString refusal = run(job, options, &result);
    if (!refusal.isEmpty())
        return fail(kFailed, refusal);
    if (!print(result.output))
        return fail(kFailed, QStringLiteral("the output cannot be written"));
    if (result.fault.isEmpty())
        return result.exitCode;
    fail(kFailed, result.fault);
    return result.exitCode == kDone ? kFailed : result.exitCode; // of a command that knows better
}
