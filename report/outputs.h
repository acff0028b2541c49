#pragma once

#include "report/sheetwriter.h"

#include <QSet>

namespace report {

/// Where sheets go: one file, a folder with a file for each, or the standard output. A file is there whole or not at
/// all: what it replaces stays until the new one is on the disk. On one thread.
class Outputs
{
public:
    /// `-`: the standard output; a folder that is there or a path that ends with a slash: a file for each sheet; else
    /// one file.
    Outputs(const QString &path, Format format, const Imprint &imprint);
    ~Outputs();

    /// Before anything is calculated: what is wrong with the place; empty when nothing is. Makes the folder.
    QString open();
    /// The fault, empty when it was taken. Of one file a fault may show as late as at commit().
    QString write(const Sheet &sheet);
    /// All sheets were written. Without it the one file is not made.
    QString commit();

    int count() const { return m_count; } ///< of files that were made

private:
    class File;
    QString writeOwnFile(const Sheet &sheet);
    QString pathOf(const Sheet &sheet);

    const QString m_path;
    const Format m_format;
    const Imprint m_imprint;
    const bool m_isFolder;
    std::unique_ptr<File> m_file;
    QSet<QString> m_names; ///< in the folder, in lower case
    int m_count = 0;
};

} // namespace report
