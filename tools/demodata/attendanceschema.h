#pragma once

#include <QStringList>

/// The statements of the shipped schema of the attendance tables, in their order.
QStringList attendanceSchema();
