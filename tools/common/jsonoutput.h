#pragma once

#include "qany.h"

#include <QByteArray>

/// The value as a line of JSON for other programs and for a terminal: control characters, which the protocol carries as
/// they are, are escaped.
QByteArray jsonOutput(const QAny &value);
