#include "server/service/systemdunit.h"

#include <QRegularExpression>

namespace server::service {

namespace {

const QString kMark = QStringLiteral("# Written when the service was installed from its own command line.");

/// A value on one line, in which nothing has a meaning.
QString plain(const QString &value)
{
    return value.simplified().replace(QLatin1Char('%'), QStringLiteral("%%"));
}

QString quoted(const QString &value)
{
    QString escaped = value;
    escaped.replace(QLatin1Char('\\'), QStringLiteral("\\\\"))
        .replace(QLatin1Char('"'), QStringLiteral("\\\""))
        .replace(QLatin1Char('%'), QStringLiteral("%%"))
        .replace(QLatin1Char('\n'), QStringLiteral("\\n"));
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

/// First word of a command line.
QString unquoted(const QString &line)
{
    QString word;
    const bool isQuoted = line.startsWith(QLatin1Char('"'));
    for (int i = isQuoted ? 1 : 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (c == QLatin1Char(isQuoted ? '"' : ' '))
            break;
        const bool isEscape = (c == QLatin1Char('\\') || c == QLatin1Char('%')) && i + 1 < line.size();
        if (!isEscape)
            word += c;
        else if (c == QLatin1Char('\\') && line.at(i + 1) == QLatin1Char('n'))
            ++i, word += QLatin1Char('\n');
        else
            word += line.at(++i);
    }
    return word;
}

QString value(const QString &text, const char *key)
{
    const QRegularExpression line(QStringLiteral("^%1=(.*)$").arg(QLatin1String(key)),
                                  QRegularExpression::MultilineOption);
    return line.match(text).captured(1).trimmed();
}

} // namespace

QString SystemdUnit::text(const ServiceManager::Installation &service)
{
    QStringList lines{
        kMark,
        QStringLiteral("[Unit]"),
        QStringLiteral("Description=") + plain(service.description),
        QStringLiteral("After=network.target"),
        QString(),
        QStringLiteral("[Service]"),
        QStringLiteral("Type=notify"),
        QStringLiteral("ExecStart=") + quoted(service.executable),
    };
    if (!isManagersAccount(service.account))
        lines += QStringLiteral("User=") + service.account;
    for (const QString &variable : service.environment)
        lines += QStringLiteral("Environment=") + quoted(variable);
    lines += {
        QStringLiteral("Restart=always"),
        QStringLiteral("RestartSec=5"),
        QStringLiteral("TimeoutStartSec=600"),
        QStringLiteral("TimeoutStopSec=60"),
        QStringLiteral("WatchdogSec=300"),
        QStringLiteral("LimitNOFILE=65536"),
        QStringLiteral("UMask=0027"),
        QStringLiteral("NoNewPrivileges=yes"),
        QString(),
        QStringLiteral("[Install]"),
        QStringLiteral("WantedBy=multi-user.target"),
        QString(),
    };
    return lines.join(QLatin1Char('\n'));
}

ServiceManager::ServiceInfo SystemdUnit::read(const QString &text)
{
    ServiceManager::ServiceInfo info;
    info.executable = unquoted(value(text, "ExecStart"));
    info.description = value(text, "Description").replace(QStringLiteral("%%"), QStringLiteral("%"));
    return info;
}

bool SystemdUnit::isOurs(const QString &text)
{
    return text.startsWith(kMark);
}

bool SystemdUnit::isExecutablePath(const QString &path)
{
    static const QRegularExpression allowed(QStringLiteral("\\A/[^\"'\\\\\\x00-\\x1f\\x7f]+\\z"));
    return allowed.match(path).hasMatch();
}

bool SystemdUnit::isAccountName(const QString &account)
{
    // As systemd's own rule, which has 31 characters at most.
    static const QRegularExpression name(QStringLiteral("\\A(?:[A-Za-z_][A-Za-z0-9_.-]{0,30}|[0-9]{1,10})\\z"));
    return name.match(account).hasMatch();
}

} // namespace server::service
