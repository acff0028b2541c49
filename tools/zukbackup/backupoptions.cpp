#include "tools/zukbackup/backupoptions.h"

#include <QCommandLineParser>
#include <QRegularExpression>

namespace tools::zukbackup {

namespace {

const char *const kDescription =
    "Copies the server's database while the server runs, checks the copy and removes old ones.\n"
    "The copy gets its name, zuknetserver-<date>-<time>.db, only when it is good. Of each of the last days and\n"
    "months the newest copy stays.\n\n"
    "Exit codes: 0 done, 1 no good copy, 2 wrong use, 3 a good copy, but old ones could not be removed.";

/// False when the option's value is no number from the least one on.
bool readCount(const QCommandLineParser &parser, const QString &option, int least, int *count)
{
    bool isNumber = false;
    *count = parser.value(option).toInt(&isNumber);
    return isNumber && *count >= least;
}

} // namespace

QString readBackupOptions(const QStringList &arguments, BackupOptions *options, QString *help)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(kDescription));
    const auto add = [&parser](const char *name, const char *text, const char *value, const QString &preset) {
        parser.addOption({QString::fromLatin1(name), QString::fromLatin1(text), QString::fromLatin1(value), preset});
    };
    const Rotation preset;
    const QCommandLineOption helpOption({"h", "help"}, "Shows this.");
    parser.addOption(helpOption);
    add("database", "The database (/opt/zuk3srv/zuknetserver.db).", "file", "/opt/zuk3srv/zuknetserver.db");
    add("folder", "Where the copies are, which must exist (/var/backups/zuk3srv).", "folder", "/var/backups/zuk3srv");
    add("daily", "Days of which a copy stays (14).", "count", QString::number(preset.daily));
    add("monthly", "Months of which a copy stays (12).", "count", QString::number(preset.monthly));
    add("label", "A word for the name of this copy. Of each label the newest three stay.", "word", {});
    add("check", "Checks a copy and does nothing else.", "file", {});
    parser.addOption({"quiet", "Says nothing when all went well."});

    const bool isParsed = parser.parse(arguments);
    if (parser.isSet(helpOption)) {
        *help = parser.helpText();
        return {};
    }
    if (!isParsed)
        return parser.errorText();
    if (!parser.positionalArguments().isEmpty())
        return "unexpected: " + parser.positionalArguments().join(' ');
    options->database = parser.value("database");
    options->folder = parser.value("folder");
    options->label = parser.value("label");
    options->checked = parser.value("check");
    options->isQuiet = parser.isSet("quiet");
    static const QRegularExpression word(QStringLiteral("^[A-Za-z0-9]*$"));
    if (!word.match(options->label).hasMatch())
        return "--label takes letters and digits";
    if (!readCount(parser, "daily", 1, &options->rotation.daily) ||
        !readCount(parser, "monthly", 0, &options->rotation.monthly))
        return "--daily takes a number from 1, --monthly one from 0";
    return {};
}

} // namespace tools::zukbackup
