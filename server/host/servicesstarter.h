#pragma once

#include <QObject>

class EchoServer;

/// Creates every long-lived object of the server in a fixed order and takes them down again. The objects belong to
/// the process, not to an instance: several short-lived starters act on the same ones. Main thread only.
class ServicesStarter : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    static bool isStarted();
    /// The running web server; null while stopped.
    static EchoServer *webServer();

public Q_SLOTS:
    /// Does nothing while started. The settings file is read from the current directory.
    void start();
    /// Does nothing while stopped.
    void stop();
};
