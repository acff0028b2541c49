#pragma once

#include "qany.h"

#include <QObject>

/// The service "logger" of administration clients, which the server calls behind a login: this one has recorded
/// nothing.
class AdminLogger : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

public Q_SLOTS:
    QAny getLogs(const QString &connectionId, const QAny &params);
};
