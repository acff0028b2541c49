#include "tools/zukbackup/backupoptions.h"

#include "options/optionparser.h"

#include <QRegularExpression>

namespace tools::zukbackup {

namespace {

const char kDescription[] =
    "Copies the server's database while the server runs, checks the copy and removes old ones.\n"
    "The copy gets its name, zuknetserver-<date>-<time>.db, only when it is good. Of each of the last days and\n"
    "months the newest copy stays.";

const char kExitCodes[] = R"(
Exit code: 0 done, 1 no good copy, 2 wrong usage, 3 a good copy, but old ones could not be removed.
)";

} // namespace

QString readBackupOptions(const QStringList &arguments, BackupOptions *options, QString *told)
{
    const Rotation preset;
    OptionParser parser(kDescription, kExitCodes);
    const auto database = parser.addDatabase();
    const auto folder = parser.add(
        {"folder", "Where the copies are, which must exist (/var/backups/zuk3srv).", "folder", "/var/backups/zuk3srv"});
    const auto daily =
        parser.add({"daily", "Days of which a copy stays (14).", "count", QString::number(preset.daily)});
    const auto monthly =
        parser.add({"monthly", "Months of which a copy stays (12).", "count", QString::number(preset.monthly)});
    const auto label =
        parser.add({"label", "A word for the name of this copy. Of each label the newest three stay.", "word"});
    const auto check = parser.add({"check", "Checks a copy and does nothing else.", "file"});
    const auto quiet = parser.add({"quiet", "Says nothing when all went well."});
    if (!parser.parse(arguments, told))
        return parser.fault();

    options->database = parser.value(database);
    options->folder = parser.value(folder);
    options->label = parser.value(label);
    options->checked = parser.value(check);
    options->isQuiet = parser.isSet(quiet);
    options->rotation.daily = parser.number(daily, 1);
    options->rotation.monthly = parser.number(monthly, 0);
    static const QRegularExpression word(QStringLiteral("^[A-Za-z0-9]*$"));
    if (!word.match(options->label).hasMatch())
        parser.blameValue(label, QStringLiteral("is not a word of letters and digits"));
    return parser.fault();
}

} // namespace tools::zukbackup
