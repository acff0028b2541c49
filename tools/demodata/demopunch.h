#pragma once

#include <QString>

namespace tools::demodata {

/// One event of an employee.
struct DemoPunch {
    enum class Source {
        Terminal,  ///< at a terminal
        Planned,   ///< absence, entered by the administration beforehand
        Web,       ///< entered by the employee on the web page
        Correction ///< entered by a superior for one that was forgotten
    };

    int second = 0; ///< clock time in seconds after the midnight of its day; 86400 and more is the next day
    QString code;
    Source source = Source::Terminal;
    QString remark;

    bool isArrival() const { return code.startsWith(QLatin1String("101")); }
};

} // namespace tools::demodata
