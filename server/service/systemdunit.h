#pragma once

#include "server/service/servicemanager.h"

/// The unit file by which systemd knows a service.
namespace server::service::SystemdUnit {

/// For a service that tells when it is ready, and that is started again however it ends, unless it was stopped.
QString text(const ServiceManager::Installation &service);

/// Executable and description as they stand in a unit of ours or somebody else's.
ServiceManager::ServiceInfo read(const QString &text);

/// Whether text() wrote it.
bool isOurs(const QString &text);

/// Whether systemd takes it for an executable's path: no quotes, backslashes and control characters, even escaped.
bool isExecutablePath(const QString &path);

/// Whether the text can stand for an account: a name of letters, digits, dot, hyphen and underscore, or a number.
bool isAccountName(const QString &account);

} // namespace server::service::SystemdUnit
