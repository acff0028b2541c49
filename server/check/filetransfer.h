#pragma once

#include <QString>

class QIODevice;

/// Files as Base64 texts, converted in pieces: a large one is held as its text alone. Used on any thread.
namespace FileTransfer {

/// Longest file that is read: as a text, its characters and their answer together are three times as much.
constexpr qint64 kMaxFileBytes = 512 * 1024 * 1024;

/// Content of the file; false when it cannot be opened or read to its end, is no file (a device may have no end), or,
/// with a warning line, is longer than kMaxFileBytes.
bool encode(const QString &path, QString *base64);
/// Writes the content, replacing the file; false, with a warning line, when not all could be written. Characters that
/// are not Base64 are skipped. Tells the size of the content, 0 when the file cannot be opened.
bool decode(const QString &base64, const QString &path, qint64 *size);

/// The same with an open device, whose errorString() tells why it failed.
bool encode(QIODevice &device, QString *base64);
bool decode(const QString &base64, QIODevice &device, qint64 *size);

} // namespace FileTransfer
