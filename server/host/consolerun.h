#pragma once

class QCoreApplication;

/// Runs the server in the foreground until it is asked to end. Leaves the marker file "debug.txt" in the directory
/// of the launch. Returns the process's exit code.
int runConsole(QCoreApplication &application);
