#pragma once

#include <QString>

/// The settings read at start-up, from "ZUKSERW.INI" in the current directory.
namespace server::host::Configuration {

/// Port of the web server where the file names none.
constexpr quint16 kDefaultWebPort = 1233;

/// "WEBS"/"PORT". A value that is no number is 0, which lets the system choose; a number that is no port counts as
/// missing, with a warning line.
quint16 webPort();

} // namespace server::host::Configuration
