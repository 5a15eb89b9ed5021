/*
 * Keeps a log in memory, prints it, and saves it in a file for zatlog.
 *
 * Prints:
 *     GEN: ======== start of log print <id = 4096, name = pump.log> ========
 *     GEN:hh:mm:ss.uuuuuu pressure 5 bar
 *     GEN:hh:mm:ss.uuuuuu pressure 6 bar
 *     GEN:hh:mm:ss.uuuuuu pressure 7 bar
 *     GEN:hh:mm:ss.uuuuuu pressure 8 bar
 *     GEN:hh:mm:ss.uuuuuu pressure 9 bar
 *     GEN: ======== end of log print <id = 4096, name = pump.log> ========
 *     pump.log is saved
 */
#include <stdio.h>
#include <zatosw/zatosw.h>

enum { pumpLog = 0x1000, records = 2, recordBytes = 80 };

static ZatStatus note(int bar) {
    char text[recordBytes];
    ZatClock now;
    int length = snprintf(text, sizeof text, "pressure %d bar\n", bar);
    zatOSWGetClock(&now);
    return zatGENWriteRgnLog(pumpLog, &now, text, (uint32_t)length);
}

int main(void) {
    /* A ring for two records of 80 bytes holds more short ones. With a lock of its own, since
       several tasks may write; not shared with other processes. */
    if (zatGENInitRgnLog(pumpLog, "pump.log", 0xFFFF, records, recordBytes, 1, 0) != ZAT_OK ||
        zatGENStartRgnLog(pumpLog) != ZAT_OK)
        return 1;
    for (int bar = 1; bar <= 9; ++bar)
        if (note(bar) != ZAT_OK) return 1; /* the oldest ones are overwritten */

    zatGENTrcAll(ZAT_GEN_SYSTEM); /* a printed log is a trace message of component 0x2000 */
    zatGENTrcAll(0x2000);
    zatGENPrintRgnLog(pumpLog, 1); /* oldest first */

    if (zatGENTrcCreateLogFile(pumpLog, "pump.log") != 0) return 1;
    fprintf(stderr, "pump.log is saved\n");
    zatGENDeleteRgnLog(pumpLog);
    zatOSWTerm();
    return 0;
}
