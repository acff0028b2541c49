#pragma once

#include "report/job.h"
#include "report/sheetwriter.h"

#include <QStringList>

namespace tools::zukreport {

struct ReportOptions {
    report::Job job;
    report::Format format = report::Format::Text;
    QString output;
    QString database;
};

/// What is wrong with the arguments; empty when nothing is. *told receives the help or the version when it
/// was asked for. Without a period it is the month before that of `today`.
QString readReportOptions(const QStringList &arguments, QDate today, ReportOptions *options, QString *told);

} // namespace tools::zukreport
