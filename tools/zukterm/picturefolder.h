#pragma once

#include "qany.h"

#include <QString>

namespace tools::zukterm {

/// Pictures as files named by their number.
class PictureFolder
{
public:
    /// An empty path has no pictures.
    explicit PictureFolder(const QString &path) : m_path(path) {}

    /// {"ID", "TYPE": file name extension, "PICT": Base64 text}; the value in a file *.json as it is; the empty String
    /// when there is no such picture.
    QAny picture(qint64 id) const;

private:
    QString m_path;
};

} // namespace tools::zukterm
