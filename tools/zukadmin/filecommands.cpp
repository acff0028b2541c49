#include "tools/zukadmin/filecommands.h"

#include "knetrpc/rpcprotocol.h"
#include "server/check/filetransfer.h"
#include "tools/zukadmin/adminoptions.h"
#include "tools/zukadmin/remotepath.h"
#include "tools/zukadmin/transferprogress.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

constexpr double kCharsPerByte = 4.0 / 3; // of a file as Base64
constexpr qint64 kEnvelopeBytes = 64 * 1024;
/// The server takes no longer message than this, so no longer file.
const qint64 kMaxFileBytes =
    static_cast<qint64>(static_cast<double>(KNet::RpcLimits().maxMessageBytes - kEnvelopeBytes) / kCharsPerByte);

QAny fileRequest(const RemotePath &path)
{
    return {{QStringLiteral("DIR"), path.folder}, {QStringLiteral("FNAME"), path.name}};
}

qint64 fileBytes(qint64 messageBytes)
{
    return static_cast<qint64>(static_cast<double>(messageBytes) / kCharsPerByte);
}

/// Content of a file at the server as Base64; Null when it has none that it can read. A size below 0 is not known.
QAny load(AdminSession &session, const RemotePath &path, const QString &what, qint64 size, QString *fault)
{
    QAny answer;
    {
        const TransferProgress progress(what, [&session, size] {
            return TransferProgress::State{fileBytes(session.bytesReceived()), size};
        });
        answer = session.callSilently(QStringLiteral("admincheck.loadFile"), fileRequest(path));
    }
    *fault = faultOfAnswer(answer);
    return answer.lookup(QStringLiteral("DATA"));
}

/// Content of a local file as Base64; the fault when it cannot be sent.
QString readLocal(const QString &path, QString *base64, qint64 *size)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("%1: %2").arg(path, file.errorString());
    *size = file.size();
    if (*size > kMaxFileBytes)
        return QStringLiteral("%1: the server takes at most %2 bytes").arg(path, QString::number(kMaxFileBytes));
    if (!FileTransfer::encode(file, base64))
        return QStringLiteral("%1: %2").arg(path, file.errorString());
    return {};
}

CommandResult put(AdminSession &session, const QString &local, const QString &target, bool verify)
{
    QString base64;
    qint64 size = 0;
    QString fault = readLocal(local, &base64, &size);
    if (!fault.isEmpty())
        return {{}, fault};
    QAny answer;
    {
        const qint64 total = size;
        const TransferProgress progress(QStringLiteral("put ") + local, [&session, total] {
            return TransferProgress::State{total - fileBytes(session.bytesToWrite()), total};
        });
        QAny request = fileRequest(RemotePath::ofTarget(target, QFileInfo(local).fileName()));
        request.insert(QStringLiteral("FILE"), base64);
        answer = session.callSilently(QStringLiteral("admincheck.addFile"), request);
    }
    fault = faultOfAnswer(answer);
    if (!fault.isEmpty())
        return {{}, fault};
    const QString stored = answer.lookup(QStringLiteral("file")).toString();
    if (verify) {
        // By the whole path that it has told: it reads from another folder than it writes to.
        const QAny content =
            load(session, RemotePath::ofFile(stored), QStringLiteral("compare ") + local, size, &fault);
        if (!fault.isEmpty())
            return {{}, QStringLiteral("%1 may be stored: %2").arg(stored, fault)};
        if (!content.isString())
            return {{}, QStringLiteral("the server did not store %1").arg(stored)};
        if (content.asString() != base64)
            return {{}, QStringLiteral("%1 at the server differs from %2").arg(stored, local)};
    }
    const QString text =
        verify ? QStringLiteral("%1: %2 bytes stored and compared\n") : QStringLiteral("%1: %2 bytes sent\n");
    return {text.arg(stored, QString::number(size)).toUtf8(), {}};
}

QString localName(const QString &wanted, const QString &remoteName)
{
    if (wanted.isEmpty())
        return remoteName;
    return QFileInfo(wanted).isDir() ? QStringLiteral("%1/%2").arg(wanted, remoteName) : wanted;
}

/// The content, decoded into the open device.
QString fetch(AdminSession &session, const QString &source, QIODevice &device, qint64 *size)
{
    QString fault;
    const QAny content = load(session, RemotePath::ofFile(source), QStringLiteral("get ") + source, -1, &fault);
    if (!fault.isEmpty())
        return fault;
    if (!content.isString())
        return QStringLiteral("the server has no file %1 that it can read").arg(source);
    return FileTransfer::decode(content.asString(), device, size) ? QString() : device.errorString();
}

CommandResult get(AdminSession &session, const QString &source, const QString &local)
{
    qint64 size = 0;
    if (local == QLatin1String("-")) {
        QBuffer content;
        content.open(QIODevice::WriteOnly);
        const QString fault = fetch(session, source, content, &size);
        return {content.data(), fault};
    }
    const QString path = localName(local, RemotePath::ofFile(source).name);
    QSaveFile file(path);
    // Before the server is asked for much.
    if (!file.open(QIODevice::WriteOnly))
        return {{}, QStringLiteral("%1: %2").arg(path, file.errorString())};
    const QString fault = fetch(session, source, file, &size);
    if (!fault.isEmpty())
        return {{}, fault};
    if (!file.commit())
        return {{}, QStringLiteral("%1: %2").arg(path, file.errorString())};
    return {QStringLiteral("%1: %2 bytes\n").arg(path, QString::number(size)).toUtf8(), {}};
}

} // namespace

AdminJob preparePut(const AdminOptions &options, QString *mistake)
{
    if (options.words.isEmpty() || options.words.size() > 2)
        *mistake = QStringLiteral("a local file is needed, and at most where it goes");
    return [&options](AdminSession &session) {
        return put(session, options.words.value(0), options.words.value(1), options.verify);
    };
}

AdminJob prepareGet(const AdminOptions &options, QString *mistake)
{
    if (options.words.isEmpty() || options.words.size() > 2)
        *mistake = QStringLiteral("a file of the server is needed, and at most where it goes");
    else if (RemotePath::ofFile(options.words.first()).name.isEmpty())
        *mistake = QStringLiteral("\"%1\" names no file").arg(options.words.first());
    return [&options](AdminSession &session) { return get(session, options.words.value(0), options.words.value(1)); };
}
