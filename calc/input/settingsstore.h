#pragma once

#include "calc/rules/calcsettings.h"
#include "qany.h"

class DataBase;

namespace storage {
class Reader;
}

namespace calc::input {

/// Taps further apart are two passages whatever is set.
constexpr qint64 kMaxDoubleTapSeconds = 3600;

/// The settings as the hash in which they travel and are stored.
QAny settingsHash(const rules::CalcSettings &settings);
/// An absent key reads as false or 0; anything but a Hash as all of them absent.
rules::CalcSettings settingsFromHash(const QAny &hash);

/// The stored settings; all off when there are none or the text is no JSON.
rules::CalcSettings loadSettings(storage::Reader &database);
/// Stores the whole settings hash (which may hold more than the switches); nothing when a text in it holds an
/// apostrophe.
void saveSettings(DataBase &database, const QAny &hash);
/// SETT of the request when it has one, else the stored settings.
rules::CalcSettings settingsOf(storage::Reader &database, const QAny &request);
/// So many seconds apart are taps of one passage: DOUBLETAP of the request when it has one, else the stored one; 0 is
/// off.
qint64 doubleTapSecondsOf(storage::Reader &database, const QAny &request);

} // namespace calc::input
