#pragma once

#include "options/dateperiod.h"
#include "tools/zukadmin/explanationwords.h"

#include <QString>
#include <QStringList>
#include <QVector>

struct AdminCommand;

/// What one run of the administration client is told to do.
struct AdminOptions {
    enum class Format { Text, Csv, Json };

    QString host;
    quint16 port = 0;
    int number = 0;
    int timeoutMs = 0; ///< for each answer; 0 as the command has it
    Format format = Format::Text;
    bool verify = true;
    DatePeriod period;
    QVector<qint64> users; ///< empty for all
    QString table;         ///< that alone; empty for all
    Language language = Language::English;
    QString database;    ///< that file, instead of a server
    QString backups;     ///< the folder of its copies
    QString figures;     ///< what a running server writes for who watches it
    quint16 webPort = 0; ///< 0 as the site has it

    const AdminCommand *command = nullptr;
    QStringList words; ///< behind the command
};

/// Reads the command line, the program's name first; the reason when it cannot be understood, else empty.
/// *told receives the help or the version when it was asked for.
QString readAdminOptions(const QStringList &arguments, AdminOptions *options, QString *told);
