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

struct FileTransfer {
    const char* source;
    const char* target; /* null: it has no name for the receiver */
};

static void send(const FileTransfer& transfer, const void* block, size_t length) {
    const auto bytes = static_cast<uint32_t>(length);
    const uint32_t kind = transfer.target != nullptr ? namedKind : unnamedKind;
    zatGENTransferData(genConsole.component, kind, genConsoleLevel, oswWord(block), bytes,
                       static_cast<uint32_t>(-1), bytes);
}

/* What says that a transfer starts or ends, to the console and, without a name, to the receiver. */
struct Banner {
    char text[2 * ZAT_GEN_COMMAND_LINE_SIZE + 64];
};

static Banner sayMoment(const FileTransfer& transfer, const char* moment) {
    Banner banner;
    if (transfer.target != nullptr)
        snprintf(banner.text, sizeof banner.text,
                 " ======== %s of file transfer <%s -> %s> ========\n", moment, transfer.source,
                 transfer.target);
    else
        snprintf(banner.text, sizeof banner.text, " ======== %s of file transfer <%s> ========\n",
                 moment, transfer.source);
    genSay("%s", banner.text);
    return banner;
}

/* The first or last block: a mark with the name, or else the banner. */
static void sendFrame(const FileTransfer& transfer, Banner banner, const char* mark) {
    if (transfer.target != nullptr)
        snprintf(banner.text, sizeof banner.text, "%s@FT %s %s%s", escape, mark, transfer.target,
                 escape);
    send(transfer, banner.text, strlen(banner.text));
}

void genRunFileTransfer(GenCommandLine& line) {
    FileTransfer transfer = {line.nextWord(), nullptr};
    if (transfer.source == nullptr) return;
    transfer.target = line.nextWord();
    const Banner start = sayMoment(transfer, "start");
    const GenFile file = genOpenFile(transfer.source, "rbe");
    if (file == nullptr) {
        genSay("< ERROR > could not open file : %s\n", transfer.source);
        return;
    }
    sendFrame(transfer, start, "START");
    char block[blockSize];
    while (const size_t length = fread(block, 1, sizeof block, file.get()))
        send(transfer, block, length);
    sendFrame(transfer, sayMoment(transfer, "end"), "END");
}
