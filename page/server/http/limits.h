#pragma once

namespace page::http {

/// Bounds on what one peer can cost. Times in ms. Tests shorten them.
struct Limits {
    /// Of the request line and all header lines; beyond it 431. A browser sends less than 2 KiB.
    int maxHeaderBytes = 8 * 1024;
    /// Likewise 431. The web socket server below takes 100.
    int maxHeaderLines = 64;
    /// A name and a password; beyond it 413.
    int maxBodyBytes = 1024;
    /// Web sockets included; beyond it 429.
    int maxConnections = 4096;
    /// The same of one address other than loopback: a department behind one address, each with a few open pages.
    int maxOfAddress = 64;
    /// Until a header is whole, and again until its body is; then 408.
    int receiveMs = 10000;
    /// Between two requests.
    int idleMs = 60000;
    /// Without a byte of an answer being taken.
    int sendMs = 30000;
    /// What still comes from a peer that was refused is thrown away for so long, so that it can read why.
    int lingerMs = 1000;
};

} // namespace page::http
