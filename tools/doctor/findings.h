#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

namespace tools::doctor {

/// How soon somebody has to look at something.
enum class Severity {
    Soon, ///< in the next days
    Act   ///< now: something is lost, stands still, or is calculated wrongly
};

/// One thing that is not as it should be. The texts may hold what is stored, control characters too.
struct Finding {
    QString check;
    Severity severity;
    QString what;
    QString remedy;
    QStringList which; ///< all that it is true of; empty where `what` says it
};

/// What an examination leaves.
struct Report {
    QString examined; ///< the file or the server
    int checks = 0;   ///< that could be made
    QVector<Finding> findings;
    QStringList unseen; ///< sentences: what could not be looked at, and why
    QString fault;      ///< why the examination is not whole; empty when it is
};

/// Takes what one check finds.
class Findings
{
public:
    Findings(const QString &check, Report *report) : m_check(check), m_report(report) {}

    void add(Severity severity, const QString &what, const QString &remedy, const QStringList &which = {});
    void addUnseen(const QString &sentence) { m_report->unseen += sentence; }

private:
    QString m_check;
    Report *m_report;
};

/// The count with its noun: "1 day", "7 days".
QString counted(int count, const char *noun);

} // namespace tools::doctor
