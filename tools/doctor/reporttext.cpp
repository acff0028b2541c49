#include "tools/doctor/reporttext.h"

#include "text/texttable.h"

#include <algorithm>

namespace tools::doctor {

namespace {

constexpr int kExamples = 3;
constexpr int kSoonCode = 3;
constexpr int kActCode = 4;

int countOf(const Report &report, Severity severity)
{
    return static_cast<int>(std::count_if(report.findings.begin(), report.findings.end(),
                                          [severity](const Finding &each) { return each.severity == severity; }));
}

QString summaryOf(const Report &report)
{
    const int now = countOf(report, Severity::Act);
    const int soon = countOf(report, Severity::Soon);
    QString text = report.examined + QStringLiteral(": ");
    if (now + soon > 0)
        text += QStringLiteral("%1 to act on now, %2 to look at soon (%3)")
                    .arg(now)
                    .arg(soon)
                    .arg(counted(report.checks, "check"));
    else if (report.fault.isEmpty())
        text += QStringLiteral("all is well: %1").arg(counted(report.checks, "check"));
    else if (report.checks > 0)
        text += QStringLiteral("nothing found by %1").arg(counted(report.checks, "check"));
    else
        return text + QStringLiteral("not examined: ") + report.fault;
    return report.fault.isEmpty() ? text : text + QStringLiteral("; not examined to the end: ") + report.fault;
}

QString lineOf(const char *prefix, const QString &text)
{
    return QLatin1String(prefix) + printable(text) + QLatin1Char('\n');
}

QString textOf(const Finding &finding)
{
    QString text = lineOf(finding.severity == Severity::Act ? "ACT   " : "SOON  ",
                          finding.check + QStringLiteral(": ") + finding.what);
    const QStringList examples = finding.which.mid(0, kExamples);
    for (const QString &each : examples)
        text += lineOf("        ", each);
    if (finding.which.size() > kExamples)
        text += lineOf("        ", QStringLiteral("and %1 more").arg(finding.which.size() - kExamples));
    return text + lineOf("      > ", finding.remedy);
}

} // namespace

QString reportText(const Report &report)
{
    QString text = lineOf("", summaryOf(report));
    for (const Finding &finding : report.findings)
        text += textOf(finding);
    for (const QString &sentence : report.unseen)
        text += lineOf("NOT SEEN  ", sentence);
    return text;
}

QAny reportRecord(const Report &report)
{
    QAny findings(QAny::List);
    for (const Finding &finding : report.findings) {
        findings.append({{QStringLiteral("CHECK"), finding.check},
                         {QStringLiteral("SEVERITY"), finding.severity == Severity::Act ? "act" : "soon"},
                         {QStringLiteral("WHAT"), finding.what},
                         {QStringLiteral("REMEDY"), finding.remedy},
                         {QStringLiteral("WHICH"), finding.which}});
    }
    return {{QStringLiteral("EXAMINED"), report.examined},
            {QStringLiteral("CHECKS"), report.checks},
            {QStringLiteral("FINDINGS"), findings},
            {QStringLiteral("UNSEEN"), report.unseen},
            {QStringLiteral("FAULT"), report.fault}};
}

int exitCodeOf(const Report &report)
{
    if (countOf(report, Severity::Act) > 0)
        return kActCode;
    if (!report.fault.isEmpty())
        return 1;
    return report.findings.isEmpty() ? 0 : kSoonCode;
}

} // namespace tools::doctor
