#pragma once

#include "tools/zukterm/rowfile.h"
#include "tools/zukterm/termoptions.h"

#include <QVector>

namespace tools::zukterm {

/// The rows of the files that the options name.
struct TermInput {
    QVector<QAny> logs;   ///< recorded while offline
    QVector<QAny> events; ///< recorded while offline
    QVector<QAny> toSend;
};

/// The fault names file and line; it is empty when all is well.
QString readTermInput(const TermOptions &options, TermInput *input);

} // namespace tools::zukterm
