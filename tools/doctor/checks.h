#pragma once

#include "tools/doctor/findings.h"
#include "tools/doctor/site.h"

// The checks of an examination, which runs them from its list (examination.cpp). Each is asked only where the tables
// that the list names are whole, and what lies on the server's machine only where it is known.

namespace tools::doctor {

void checkVersion(const Site &site, Findings &findings);
void checkPorts(const Site &site, Findings &findings);
void checkIntegrity(const Site &site, Findings &findings);
void checkJournalMode(const Site &site, Findings &findings);
void checkTables(const Site &site, Findings &findings);
void checkIndexes(const Site &site, Findings &findings);
void checkOwnTables(const Site &site, Findings &findings);
void checkCalendar(const Site &site, Findings &findings);
void checkStaff(const Site &site, Findings &findings);
void checkShifts(const Site &site, Findings &findings);
void checkSettings(const Site &site, Findings &findings);
void checkRuleTexts(const Site &site, Findings &findings);
void checkScheduleTexts(const Site &site, Findings &findings);
void checkSilence(const Site &site, Findings &findings);
void checkClocks(const Site &site, Findings &findings);
void checkWaiting(const Site &site, Findings &findings);
void checkDisk(const Site &site, Findings &findings);
void checkBackups(const Site &site, Findings &findings);

/// Tells that the file is damaged, and by which signs.
void addDamage(const QStringList &signs, Findings &findings);
/// The tables that the system reads, in upper case.
QStringList neededTables();
/// All indexes of the needed tables, as the site holds them. A row id of the site's own counts as one.
QStringList readIndexes(const Site &site);
/// Whether one of the site's indexes begins with these columns ("TABLE COLUMN, COLUMN").
bool isIndexed(const Site &site, const QString &columns);
/// Whether the file has all of the table that the system reads.
bool isWhole(const Site &site, const QString &table);

} // namespace tools::doctor
