/* Fatal memory faults; see mem_fault_private.h. */

#include "osw/mem_fault_private.h"

#include "osw/mem_header_private.h"
#include "osw/report_private.h"

/* Not a literal, which the compiler would turn into a trap or drop. */
static char* volatile nowhere = nullptr;

__attribute__((no_sanitize("null"))) static void crash() {
    *const_cast<volatile char*>(nowhere) = 0;
}

static void reportSurvival(int line) {
    oswReport(OSW_REPORT_FATAL, "<Fatal>:File-%s, Line-%d\n", "zatoslnx", line);
}

void oswAllocFault(const char* function, OswCrash order, int line) {
    if (order == OswCrash::BeforeMessage) crash();
    oswReport(OSW_REPORT_WARNING, "<Fatal>:%s():Memory allocate failed\n", function);
    if (order == OswCrash::AfterMessage) crash();
    reportSurvival(line);
}

void oswFreeFault(const char* function, ZatPartition partition, const void* block, ZatStatus status,
                  int line) {
    oswReport(OSW_REPORT_WARNING, "<Fatal>:%s():partid<%lx> pblk<%lx>\n", function,
              static_cast<unsigned long>(partition), reinterpret_cast<unsigned long>(block));
    oswReport(OSW_REPORT_WARNING, "<Fatal>:%s():Memory free error rc<%lx>\n", function,
              static_cast<unsigned long>(status));
    crash();
    reportSurvival(line);
}

void oswHeaderFault(const char* function, const void* block, uint32_t caller, int line) {
    oswReport(OSW_REPORT_WARNING, "<Fatal>:%s():header checksum error\n", function);
    oswReport(OSW_REPORT_WARNING, "<Fatal>:%s():addr=0x%lx, func=0x%lx\n", function,
              reinterpret_cast<unsigned long>(block), static_cast<unsigned long>(caller));
    oswReportDump(OSW_REPORT_WARNING, static_cast<const MemDbgHead*>(block) - 1,
                  sizeof(MemDbgHead));
    crash();
    reportSurvival(line);
}
