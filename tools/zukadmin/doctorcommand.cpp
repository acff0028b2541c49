#include "tools/zukadmin/doctorcommand.h"

#include "tools/common/console.h"
#include "tools/common/jsonoutput.h"
#include "tools/doctor/examination.h"
#include "tools/doctor/filerows.h"
#include "tools/doctor/reporttext.h"
#include "tools/zukadmin/adminoptions.h"

#include <QFileInfo>
#include <QSettings>

#include <cstdio>

namespace {

namespace doctor = tools::doctor;

constexpr quint16 kDefaultWebPort = 1233;

/// A server that is asked by its remote query.
class ServerRows : public doctor::Rows
{
public:
    explicit ServerRows(AdminSession &session) : m_session(session) {}

protected:
    QAny ask(const QString &sql, doctor::Fault *fault) override
    {
        const QAny rows = query(sql, fault);
        // A server that cannot read its file answers no rows, and does not say so.
        if (rows.count() == 0 && fault->text.isEmpty() && m_hasAnswered &&
            query(QStringLiteral("select count(*) as N from sqlite_master"), fault).count() == 0 &&
            fault->text.isEmpty())
            fault->text = QStringLiteral("the server cannot read its database now");
        m_hasAnswered = m_hasAnswered || rows.count() > 0;
        return rows;
    }

private:
    QAny query(const QString &sql, doctor::Fault *fault)
    {
        const QAny rows = m_session.call(QStringLiteral("admincheck.query"), sql);
        fault->text = faultOfAnswer(rows);
        return rows;
    }

    AdminSession &m_session;
    bool m_hasAnswered = false; ///< with rows: the server has a database
};

/// As the server beside the database has it.
quint16 webPortOf(const QString &database)
{
    const QSettings settings(QFileInfo(database).absolutePath() + QStringLiteral("/ZUKSERW.INI"), QSettings::IniFormat);
    return static_cast<quint16>(settings.value(QStringLiteral("WEBS/PORT"), kDefaultWebPort).toUInt());
}

doctor::Site siteOf(const AdminOptions &options, doctor::Rows &rows)
{
    doctor::Site site;
    site.rows = &rows;
    site.host = options.host;
    site.rpcPort = options.port;
    site.webPort = options.webPort;
    if (Console::isTerminal(stderr))
        site.announce = [](const QString &line) {
            std::fputs((line + QLatin1Char('\n')).toUtf8().constData(), stderr);
        };
    return site;
}

CommandResult resultOf(const doctor::Report &report, const AdminOptions &options)
{
    const bool isJson = options.format == AdminOptions::Format::Json;
    const QString fault = report.fault.isEmpty() ? QString() : report.examined + QStringLiteral(": ") + report.fault;
    return {isJson ? jsonOutput(doctor::reportRecord(report)) : doctor::reportText(report).toUtf8(), fault,
            doctor::exitCodeOf(report)};
}

CommandResult examineServer(const AdminOptions &options, AdminSession &session)
{
    ServerRows rows(session);
    doctor::Site site = siteOf(options, rows);
    if (site.webPort == 0)
        site.webPort = kDefaultWebPort;
    const QAny version = session.call(QStringLiteral("admincheck.version"));
    site.serverVersion = version.lookup(QStringLiteral("ver")).toString();
    doctor::Report report = doctor::examine(site);
    report.examined = QStringLiteral("%1:%2").arg(options.host).arg(options.port);
    return resultOf(report, options);
}

CommandResult examineFile(const AdminOptions &options)
{
    doctor::Report report;
    const doctor::LocalFiles files{options.database, options.backups, options.figures, true};
    doctor::FileRows rows(options.database);
    report.fault = rows.refusal();
    if (report.fault.isEmpty()) {
        doctor::Site site = siteOf(options, rows);
        site.files = files;
        site.files->hasWriteAheadLog = rows.hasWriteAheadLog();
        if (site.webPort == 0)
            site.webPort = webPortOf(options.database);
        report = doctor::examine(site);
    }
    report.examined = options.database;
    return resultOf(report, options);
}

} // namespace

AdminJob prepareDoctor(const AdminOptions &options, QString *mistake)
{
    if (!options.words.isEmpty())
        *mistake = QStringLiteral("it takes no arguments");
    if (!options.database.isEmpty())
        return [&options] { return examineFile(options); };
    return [&options](AdminSession &session) { return examineServer(options, session); };
}
