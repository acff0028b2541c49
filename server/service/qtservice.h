#pragma once

#include "server/service/qtservicebase.h"

/// A service in an application of the given type, QCoreApplication or a subclass.
template <typename Application> class QtService : public QtServiceBase
{
public:
    using QtServiceBase::QtServiceBase;

protected:
    Application *application() const { return static_cast<Application *>(Application::instance()); }
    int executeApplication() override { return Application::exec(); }
};
