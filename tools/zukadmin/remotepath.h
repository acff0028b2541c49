#pragma once

#include <QString>

/// A file at the server, as its messages name it.
struct RemotePath {
    QString folder; ///< "." for the server's own
    QString name;

    /// What is behind the last slash is the name, which is empty where there is nothing.
    static RemotePath ofFile(const QString &path);
    /// Where a local file goes to: DIR, DIR/ or DIR/NAME, the server's own folder for an empty text. Without a name the
    /// file keeps its own.
    static RemotePath ofTarget(const QString &path, const QString &localName);
};
