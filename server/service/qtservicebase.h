#pragma once

#include "server/service/servicemanager.h"

class QtServiceController;
class QtServiceControllerHandler;
class QtServiceStarter;

/// Turns a program into a service of the operating system, with a command line for installing, removing, starting,
/// stopping and querying it. A subclass supplies what the service does. The application object is the caller's and is
/// there already; everything a subclass supplies is called on its thread.
class QtServiceBase
{
public:
    using MessageType = server::service::ServiceManager::MessageType;

    /// Argument count and vector are the application's and outlive this; "-exec" takes itself out of them. A name with
    /// a backslash or of more than 255 characters gets a warning line and is used as it is. Without a manager it is
    /// the platform's.
    QtServiceBase(int &argc, char **argv, const QString &name,
                  std::shared_ptr<server::service::ServiceManager> manager = {});
    virtual ~QtServiceBase();

    QString serviceName() const { return m_name; }
    QString serviceDescription() const { return m_installation.description; }
    void setServiceDescription(const QString &description) { m_installation.description = description; }
    server::service::ServiceManager::StartupType startupType() const { return m_installation.startup; }
    void setStartupType(server::service::ServiceManager::StartupType type) { m_installation.startup = type; }
    /// Variables ("NAME=value") of the installed service's environment, where the manager can set them.
    void setServiceEnvironment(const QStringList &variables) { m_installation.environment = variables; }

    /// Does what the first argument asks for; without one, or with one that is not known, runs as the service, or has
    /// the manager start it when somebody else launched this process. Returns the process's exit code: 0, or 1 after a
    /// failure; of a service the event loop's result.
    int exec();

    /// Writes to the system's event log. Any thread.
    void logMessage(const QString &message, MessageType type = MessageType::Success, int id = 0, int category = 0);

protected:
    /// The service begins. What it queues or arms with zero delay counts as part of it: only behind that the manager is
    /// told that the service runs.
    virtual void start() = 0;
    /// The service ends. What it queues or arms with zero delay is done before the event loop ends.
    virtual void stop() = 0;
    virtual void pause();
    virtual void resume();
    /// A code that somebody sent through the manager.
    virtual void processCommand(int code);

    /// Runs the application's event loop.
    virtual int executeApplication() = 0;

private:
    Q_DISABLE_COPY(QtServiceBase)
    friend class QtServiceControllerHandler;
    friend class QtServiceStarter;

    int install(QtServiceController &controller, const QString &account, const QString &password);
    int uninstall(QtServiceController &controller) const;
    int printVersion(const QtServiceController &controller) const;
    int executeInForeground();
    int runAsService(QtServiceController &controller);

    int &m_argc;
    char **m_argv;
    QString m_name;
    server::service::ServiceManager::Installation m_installation;
    std::shared_ptr<server::service::ServiceManager> m_manager;
};
