/* Memory: figures, partitions, dumps, and blocks of the console's own. */

#include <string.h>

#include <algorithm>
#include <optional>

#include "gen/console/commands_private.h"
#include "gen/console/mapped_memory_private.h"
#include "gen/trace/dump.h"
#include "gen/trace/hook.h"
#include "gen/trace/output.h"
#include "osw/handle_private.h"
#include "osw/ipc/mem_part.h"
#include "osw/mem_header_private.h"
#include "osw/mem_info.h"
#include "osw/mem_part.h"
#include "osw/mem_part_private.h"

/* What MA allocated last. */
static void* remembered;

void genRunMemory(GenCommandLine&) {
    zatOSWShowMemInfo(genConsole.component, ZAT_GEN_TRACE | ZAT_GEN_MONITOR, genConsoleLevel);
}

/* Whether memory looks like a partition, as far as its first block. */
static bool looksLikePartition(MemPartHead* part) {
    const MemBlockTag* first = memTagAt(part, memFirstBlock);
    const uint32_t size = memBlockSize(first);
    return part->end > memFirstBlock + sizeof(MemBlockTag) && first->prevSize == 0 &&
           size >= sizeof(MemBlockTag) && size % memUnit == 0 && size <= part->end - memFirstBlock;
}

/* Whether an id that was typed can be a partition's: its semaphore is taken, and the listing
 * follows what stands there. */
static bool mayBePartition(ZatPartition partition) {
    static constexpr uint32_t beginning = memFirstBlock + sizeof(MemBlockTag);
    if (partition == 0) return true;
    if (!genCheckAccess(partition, beginning, GenAccess::Write)) return false;
    auto* part = oswRecord<MemPartHead>(partition);
    if (looksLikePartition(part) && genMayAccess(partition, part->end, GenAccess::Write))
        return true;
    genSay("< ERROR > no partition at %08lx.\n", static_cast<unsigned long>(partition));
    return false;
}

void genRunPartition(GenCommandLine& line) {
    ZatPartition partition = 0;
    if (!genReadHex(line.nextWord(), partition) || !mayBePartition(partition)) return;
    const uint32_t verbose = genIsWord(line.nextWord(), "B") ? 1 : 0;
    zatOSWShowMemPartBlockInfo(genConsole.component, genConsoleLevel, partition, verbose);
}

void genRunSharedMemory(GenCommandLine& line) {
    if (const char* name = line.nextWord())
        zatOSWIpcShowMemPartBlock(genConsole.component, genConsoleLevel, name);
    else
        zatOSWIpcShowMemPartList(genConsole.component, genConsoleLevel);
}

/* Other lines of a page for dumps, until the end of the scope. */
class DumpLines {
  public:
    explicit DumpLines(uint32_t lines) : before_(zatGENGetDumpLines()) {
        zatGENSetDumpLines(lines);
    }
    DumpLines(const DumpLines&) = delete;
    DumpLines& operator=(const DumpLines&) = delete;
    ~DumpLines() { zatGENSetDumpLines(before_); }

  private:
    const uint32_t before_;
};

void genRunDump(GenCommandLine& line) {
    uint32_t address = 0;
    int32_t length = 0;
    int32_t lines = 0;
    if (!genReadHex(line.nextWord(), address) || !genReadNumber(line.nextWord(), length)) return;
    const bool givesLines = genReadNumber(line.nextWord(), lines);
    const auto size = static_cast<uint32_t>(std::max(length, 0));
    /* A null pointer is not followed. */
    if (address != 0 && !genCheckAccess(address, size, GenAccess::Read)) return;
    std::optional<DumpLines> page;
    if (lines > 0) page.emplace(static_cast<uint32_t>(lines));
    zatGENTraceDump(genConsole.component, ZAT_GEN_TRACE | ZAT_GEN_MONITOR, genConsoleLevel,
                    oswRecord<void>(address), length, -1, givesLines);
}

void genRunAllocate(GenCommandLine& line) {
    int32_t size = 0;
    if (!genReadNumber(line.nextWord(), size)) return;
    if (remembered != nullptr) zatOSWOrgFreeMemPart(0, remembered);
    remembered = nullptr;
    const auto bytes = static_cast<uint32_t>(size);
    const ZatStatus status =
        oswHasRoom(bytes) ? zatOSWOrgAllocMemPart(0, &remembered, bytes) : ZatStatus{ZAT_FAILED};
    if (status != ZAT_OK) {
        genSay("<ERROR> zatOSWAllocMem() rc=0x%lx\n", static_cast<unsigned long>(status));
        return;
    }
    memset(remembered, 0, bytes);
    genSay("<OK> zatOSWAllocMem() size=%d addr=0x%lx\n", static_cast<int>(size),
           static_cast<unsigned long>(oswWord(remembered)));
}

void genRunFree(GenCommandLine& line) {
    uint32_t address = oswWord(remembered);
    if (const char* word = line.nextWord(); word != nullptr && !genReadHex(word, address)) return;
    if (address == 0) return;
    if (genCheckAccess(address - sizeof(MemDbgHead), sizeof(MemDbgHead), GenAccess::Write))
        zatOSWOrgFreeMemPart(0, oswRecord<void>(address));
}
