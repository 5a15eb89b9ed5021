/* FT: a file in blocks for the hook of zatGENTransferData(). */

#include <string.h>

#include "gen/console/commands_private.h"
#include "gen/file_private.h"
#include "gen/trace/output.h"
#include "osw/handle_private.h"

/* What the blocks of a transfer are: of one with a name for the receiver, and of one without. */
static constexpr uint32_t namedKind = 10;
static constexpr uint32_t unnamedKind = 9;
static constexpr char escape[] = "\x1b%-12345X";
static constexpr uint32_t blockSize = 1024;

struct Transfer {
    const char* source;
    const char* target; /* null: it has no name for the receiver */
};

static void send(const Transfer& transfer, const void* block, size_t length) {
    const auto bytes = static_cast<uint32_t>(length);
    const uint32_t kind = transfer.target != nullptr ? namedKind : unnamedKind;
    zatGENTransferData(genConsole.component, kind, genConsoleLevel, oswWord(block), bytes,
                       static_cast<uint32_t>(-1), bytes);
}

/* Says that a transfer starts or ends, and sends the block that frames it. */
static void sendFrame(const Transfer& transfer, const char* moment, const char* mark) {
    char text[2 * ZAT_GEN_COMMAND_LINE_SIZE + 64];
    if (transfer.target != nullptr)
        snprintf(text, sizeof text, " ======== %s of file transfer <%s -> %s> ========\n", moment,
                 transfer.source, transfer.target);
    else
        snprintf(text, sizeof text, " ======== %s of file transfer <%s> ========\n", moment,
                 transfer.source);
    genSay("%s", text);
    if (transfer.target != nullptr)
        snprintf(text, sizeof text, "%s@FT %s %s%s", escape, mark, transfer.target, escape);
    send(transfer, text, strlen(text));
}

void genRunFileTransfer(GenCommandLine& line) {
    Transfer transfer = {line.nextWord(), nullptr};
    if (transfer.source == nullptr) return;
    transfer.target = line.nextWord();
    const GenFile file(fopen(transfer.source, "rbe"));
    if (file == nullptr) {
        genSay("< ERROR > could not open file : %s\n", transfer.source);
        return;
    }
    sendFrame(transfer, "start", "START");
    char block[blockSize];
    while (const size_t length = fread(block, 1, sizeof block, file.get()))
        send(transfer, block, length);
    sendFrame(transfer, "end", "END");
}
