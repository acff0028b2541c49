#pragma once

// The lines that a recalculation writes into the log while it packs its tables, in their order.

namespace calc {

void traceRecalcStart();
void tracePairTableStart();
void tracePairTableEnd();
void traceDayTableStart();
void traceDayTableEnd();
void traceSumTableStart();
void traceSumTableEnd();
void traceRecalcEnd();

} // namespace calc
