#pragma once

#include <QByteArray>

#include <functional>

// What the targets have in common. A target is a check(); the driver hands it one input after another, on the main
// thread, with an application object, in the zone Europe/Ljubljana and with the diagnostics silent.

/// The target's own: handles any input whatsoever, and returns when all is well. The bytes end where the input ends.
void check(const QByteArray &input);

/// Ends the program with the text where something does not hold that must.
void require(bool holds, const char *what);

/// Runs the event loop until the condition holds; it must before long.
void runUntil(const std::function<bool()> &holds, const char *what);
