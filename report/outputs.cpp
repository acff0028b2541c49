#include "report/outputs.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <cstdio>

namespace report {

namespace {

const QString kStandardOutput = QStringLiteral("-");

bool isFolder(const QString &path)
{
    return path != kStandardOutput && (path.endsWith(QLatin1Char('/')) || QFileInfo(path).isDir());
}

QString suffixOf(Format format)
{
    return format == Format::Csv   ? QStringLiteral(".csv")
           : format == Format::Pdf ? QStringLiteral(".pdf")
                                   : QStringLiteral(".txt");
}

/// Writes all or fails: a file's device takes a part of a large block where the disk is full, and calls it no error.
class WholeWrites : public QIODevice
{
    Q_OBJECT
public:
    explicit WholeWrites(QIODevice &target) : m_target(target) { open(WriteOnly | Unbuffered); }

    bool hasFailed() const { return m_hasFailed; }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *data, qint64 length) override
    {
        for (qint64 done = 0; done < length && !m_hasFailed;) {
            const qint64 written = m_target.write(data + done, length - done);
            m_hasFailed = written <= 0;
            done += written;
        }
        return m_hasFailed ? -1 : length;
    }

private:
    QIODevice &m_target; ///< not owned
    bool m_hasFailed = false;
};

} // namespace

/// One file, or the standard output.
class Outputs::File
{
public:
    File(const QString &path, Format format, const Imprint &imprint) : m_name(path)
    {
        if (path == kStandardOutput) {
            m_name = QStringLiteral("the standard output");
            m_isOpen = m_standard.open(stdout, QIODevice::WriteOnly);
        } else {
            m_save = std::make_unique<QSaveFile>(path);
            m_isOpen = m_save->open(QIODevice::WriteOnly);
        }
        m_device = std::make_unique<WholeWrites>(file());
        if (m_isOpen)
            m_writer = sheetWriter(format, *m_device, imprint);
    }

    QString write(const Sheet &sheet)
    {
        if (m_isOpen)
            m_writer->write(sheet);
        return fault();
    }

    QString commit()
    {
        if (m_isOpen)
            m_writer->finish();
        m_writer.reset();
        const QString before = fault();
        if (!before.isEmpty())
            return before;
        return (m_save ? m_save->commit() : m_standard.flush()) ? QString() : cannotBeWritten();
    }

    QString fault()
    {
        const bool isFine = m_isOpen && !m_device->hasFailed() && file().error() == QFileDevice::NoError;
        return isFine ? QString() : cannotBeWritten();
    }

private:
    QFileDevice &file()
    {
        if (m_save)
            return *m_save;
        return m_standard;
    }
    QString cannotBeWritten() { return QStringLiteral("%1 cannot be written: %2").arg(m_name, file().errorString()); }

    QString m_name;
    QFile m_standard;
    std::unique_ptr<QSaveFile> m_save;
    std::unique_ptr<WholeWrites> m_device;
    std::unique_ptr<SheetWriter> m_writer; ///< ends before the device
    bool m_isOpen = false;
};

Outputs::Outputs(const QString &path, Format format, const Imprint &imprint)
    : m_path(path), m_format(format), m_imprint(imprint), m_isFolder(isFolder(path))
{
}

Outputs::~Outputs() = default;

QString Outputs::open()
{
    if (m_isFolder)
        return QDir().mkpath(m_path) ? QString() : QStringLiteral("the folder %1 cannot be made").arg(m_path);
    m_file = std::make_unique<File>(m_path, m_format, m_imprint);
    return m_file->fault();
}

/// Names of departments may differ by what no file name holds.
QString Outputs::pathOf(const Sheet &sheet)
{
    QString name = sheet.fileName;
    for (int number = 2; m_names.contains(name.toLower()); ++number)
        name = QStringLiteral("%1-%2").arg(sheet.fileName).arg(number);
    m_names.insert(name.toLower());
    return QDir(m_path).filePath(name + suffixOf(m_format));
}

QString Outputs::writeOwnFile(const Sheet &sheet)
{
    File file(pathOf(sheet), m_format, m_imprint);
    QString fault = file.write(sheet);
    if (fault.isEmpty())
        fault = file.commit();
    if (fault.isEmpty())
        ++m_count;
    return fault;
}

QString Outputs::write(const Sheet &sheet)
{
    return m_isFolder ? writeOwnFile(sheet) : m_file->write(sheet);
}

QString Outputs::commit()
{
    if (m_isFolder)
        return {};
    const QString fault = m_file->commit();
    if (fault.isEmpty())
        ++m_count;
    return fault;
}

} // namespace report

#include "outputs.moc"
