#include "page/server/pageoptions.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>

namespace page {

namespace {

const char *const kDescription = "Serves the employees' page, beside the server and from its database.\n\n"
                                 "Exit codes: 0 ended by a signal, 1 cannot listen, 2 wrong use.";

const char *const kListen = "listen";
const char *const kOrigin = "origin";
const char *const kDatabase = "database";

/// False when it is none. An IPv6 address stands in brackets.
bool readAddress(const QString &text, PageOptions *options)
{
    const int colon = text.lastIndexOf(':');
    QString host = text.left(colon);
    if (host.startsWith('[') && host.endsWith(']'))
        host = host.mid(1, host.size() - 2);
    else if (host.contains(':'))
        return false;
    bool isPort = false;
    options->port = text.midRef(colon + 1).toUShort(&isPort);
    return colon > 0 && isPort && options->address.setAddress(host);
}

/// Beside the program, as the server has it; a program that is installed elsewhere takes the server's.
QString usualDatabase()
{
    const QString beside = QCoreApplication::applicationDirPath() + "/zuknetserver.db";
    return QFileInfo::exists(beside) ? beside : QStringLiteral("/opt/zuk3srv/zuknetserver.db");
}

QString valuesFault(const QCommandLineParser &parser, PageOptions *options)
{
    if (!parser.positionalArguments().isEmpty())
        return "unexpected: " + parser.positionalArguments().join(' ');
    if (!readAddress(parser.value(kListen), options))
        return QStringLiteral("--listen takes an address and a port, such as 127.0.0.1:8233 or [::1]:8233");
    if (parser.isSet(kOrigin)) {
        options->origin = http::Origin::fromUrl(parser.value(kOrigin));
        if (!options->origin)
            return QStringLiteral("--origin takes what browsers show, such as https://zuk.example.com/page");
    }
    options->database = parser.isSet(kDatabase) ? parser.value(kDatabase) : usualDatabase();
    return {};
}

} // namespace

QString readPageOptions(const QStringList &arguments, PageOptions *options, QString *told)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(kDescription));
    const auto add = [&parser](const char *name, const char *text, const char *value, const char *preset) {
        parser.addOption({QString::fromLatin1(name), QString::fromLatin1(text), QString::fromLatin1(value),
                          QString::fromLatin1(preset)});
    };
    const QCommandLineOption help({"h", "help"}, "Shows this.");
    const QCommandLineOption version({"v", "version"}, "Shows the version.");
    parser.addOption(help);
    parser.addOption(version);
    add(kListen, "Where to listen (127.0.0.1:8233). Port 0 lets the system choose one.", "address:port",
        "127.0.0.1:8233");
    add(kOrigin, "Under which address browsers reach the page through a proxy, https://host[:port][/path].", "url", "");
    add(kDatabase, "The database (zuknetserver.db beside this program, or else /opt/zuk3srv/zuknetserver.db).", "file",
        "");
    const bool isParsed = parser.parse(arguments);
    if (parser.isSet(help)) {
        *told = parser.helpText();
        return {};
    }
    if (parser.isSet(version)) {
        *told = QCoreApplication::applicationName() + ' ' + QCoreApplication::applicationVersion() + '\n';
        return {};
    }
    return isParsed ? valuesFault(parser, options) : parser.errorText();
}

} // namespace page
