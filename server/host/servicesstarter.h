#pragma once

#include <QObject>

class EchoServer;
class EkeyEventHandler;

/// Creates every long-lived object of the server in a fixed order and takes them down again. The objects belong to
/// the process, not to an instance: several short-lived starters act on the same ones. Main thread only.
class ServicesStarter : public QObject
{
    Q_OBJECT
public:
    /// On all addresses; not configurable. When it is taken, a warning names it and the rest of the server runs.
    static constexpr quint16 kRpcPort = 3501;

    using QObject::QObject;

    static bool isStarted();
    /// The running web server; null while stopped.
    static EchoServer *webServer();
    /// The tracker of the fingerprint reader's file, whether it runs or not; null while stopped.
    static EkeyEventHandler *ekeyEventHandler();

public Q_SLOTS:
    /// Does nothing while started. The settings file is read from the current directory.
    void start();
    /// Does nothing while stopped. While synchronous calls to terminals wait, it ends those waits and returns; the
    /// server is then taken down when the last of the callers has left the stack. A start() that comes in between
    /// follows behind.
    void stop();

private:
    static void resume();
    static void tearDown();
};
