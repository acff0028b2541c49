#pragma once

#include "qany.h"

#include <QHostAddress>
#include <QList>
#include <QObject>

#include <functional>

/// Writes the server's own rows of `logs`. Owned by ServicesStarter; called on the main thread.
class Logger : public QObject
{
    Q_OBJECT
public:
    /// All addresses of this machine, in the order in which the system lists them.
    using AddressLister = std::function<QList<QHostAddress>()>;

    explicit Logger(QObject *parent = nullptr);
    /// With another source of the machine's addresses.
    explicit Logger(AddressLister addresses, QObject *parent = nullptr);

    /// One row, stamped now, under the server's own line and entry id 0. Without a database nothing is written.
    void log(int level, int group, const QString &message, const QAny &data);
    /// The same with level 0, group 0 and Null data.
    void log(const QString &message);

    /// Last octet of the first address in 192.168.0.0/16; 0 when there is none.
    static int lineNumber(const QList<QHostAddress> &addresses);

private:
    int ownLine();

    AddressLister m_addresses;
};

/// The process's logger; null before start and after stop. Only ServicesStarter (or a test) sets it.
Logger *logger();
void setLogger(Logger *instance);
