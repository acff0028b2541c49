#include "server/reader/ekeysettings.h"

#include <QDebug>
#include <QFileInfo>
#include <QSettings>

#include <memory>

namespace server::reader {

namespace {

const QString kFile = QStringLiteral("CSVFILE/FILE");
const QString kOn = QStringLiteral("CSVFILE/ON");
const QString kDateFormat = QStringLiteral("CSVFILE/DATEF");
const QString kTerminal = QStringLiteral("CSVFILE/ZukId%1");
const QString kReader = QStringLiteral("CSVFILE/UlkaId%1");

std::unique_ptr<QSettings> settingsFile()
{
    auto settings = std::make_unique<QSettings>(QStringLiteral("UlkaCsv.ini"), QSettings::IniFormat);
    settings->setIniCodec("UTF-8"); // as editors write the name of a file
    return settings;
}

/// A value with a comma that does not stand in quotes comes as a list.
QString text(const QSettings &settings, const QString &key, const QString &absent)
{
    const QVariant value = settings.value(key, absent);
    const bool isList = value.userType() == QMetaType::QStringList;
    return (isList ? value.toStringList().join(QLatin1Char(',')) : value.toString()).trimmed();
}

/// Unlike a QVariant's, "off" and "no" are off.
bool meansOn(const QString &value)
{
    const auto is = [&value](const char *word) { return value.compare(QLatin1String(word), Qt::CaseInsensitive) == 0; };
    return QVariant(value).toBool() && !is("off") && !is("no");
}

void tell(const char *what, const EkeySettings &settings)
{
    QDebug line = qDebug().noquote();
    line << what << settings.file << settings.isOn << settings.dateFormat;
    for (const EkeySettings::Reader &reader : settings.readers)
        line << reader.id + QLatin1Char(':') + QString::number(reader.terminal);
}

} // namespace

EkeySettings EkeySettings::read()
{
    const auto file = settingsFile();
    EkeySettings settings;
    settings.file = text(*file, kFile, settings.file);
    settings.isOn = meansOn(text(*file, kOn, QVariant(settings.isOn).toString()));
    settings.dateFormat = text(*file, kDateFormat, settings.dateFormat);
    for (size_t i = 0; i < settings.readers.size(); ++i) {
        Reader &reader = settings.readers[i];
        reader.id = text(*file, kReader.arg(i + 1), reader.id);
        const QString terminal = text(*file, kTerminal.arg(i + 1), QString::number(reader.terminal));
        bool isNumber = false;
        reader.terminal = terminal.toInt(&isNumber);
        if (!isNumber) {
            reader.terminal = -1;
            qWarning().noquote() << "EkeySettings::read no terminal number:" << kTerminal.arg(i + 1) << terminal;
        }
    }
    // One that is not there is no error.
    if (file->status() != QSettings::NoError ||
        (QFile::exists(file->fileName()) && !QFileInfo(file->fileName()).isReadable()))
        qWarning().noquote() << "EkeySettings::read can't read" << file->fileName();
    tell("RINI", settings);
    return settings;
}

bool EkeySettings::write() const
{
    tell("WINI", *this);
    const auto settings = settingsFile();
    settings->setValue(kFile, file);
    settings->setValue(kOn, isOn);
    settings->setValue(kDateFormat, dateFormat);
    for (size_t i = 0; i < readers.size(); ++i) {
        settings->setValue(kTerminal.arg(i + 1), readers[i].terminal);
        settings->setValue(kReader.arg(i + 1), readers[i].id);
    }
    settings->sync();
    return settings->status() == QSettings::NoError;
}

int EkeySettings::terminalOf(const QString &reader) const
{
    for (const Reader &known : readers) {
        if (known.id == reader)
            return known.terminal;
    }
    bool isNumber = false;
    const int terminal = reader.toInt(&isNumber);
    return isNumber && terminal >= 0 ? terminal : -1;
}

} // namespace server::reader
