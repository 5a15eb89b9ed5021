/* What the program's arguments ask of a console: commands to begin with, a reader or none. */

#include <string.h>

#include "clb/text.h"
#include "gen/console/console_private.h"
#include "osw/msg_queue.h"
#include "osw/process.h"

static constexpr uint32_t parametersSize = 256;
/* The arguments may be one longer than was asked for. */
static constexpr uint32_t parametersRoom = parametersSize + 258;

/* Queues the pieces between commas, as lines; one that is too long for a line is cut. */
static void queueCommands(char* commands, ZatMsgQueue queue) {
    char* rest = nullptr;
    for (char* piece = strtok_r(commands, ",", &rest); piece != nullptr;
         piece = strtok_r(nullptr, ",", &rest)) {
        GenLine line = {};
        memcpy(line.text, piece, strnlen(piece, ZAT_GEN_COMMAND_LINE_SIZE - 1));
        zatOSWSendMsgQueue(queue, line.text, static_cast<uint32_t>(strlen(line.text)) + 1,
                           ZAT_FOREVER, 0);
    }
}

/* The next word, or what stands between quotes, up to the end where there is no second one. */
static char* nextArgument(char** rest) {
    char* quoted = *rest + strspn(*rest, " \t\r\n");
    if (*quoted != '"') return zatCLBGetWord(nullptr, rest);
    quoted += 1;
    char* end = quoted + strcspn(quoted, "\"");
    *rest = *end == '\0' ? end : end + 1;
    *end = '\0';
    return quoted;
}

bool genReadConsoleOptions(bool readsStdin, ZatMsgQueue queue) {
    char parameters[parametersRoom] = "";
    if (zatOSWGetProcessParams(parameters, parametersSize) != ZAT_OK) return readsStdin;
    char* rest = nullptr;
    for (char* word = zatCLBGetWord(parameters, &rest); word != nullptr;
         word = zatCLBGetWord(nullptr, &rest)) {
        if (strcmp(word, "--stdin") == 0) {
            readsStdin = true;
        } else if (strcmp(word, "--no-stdin") == 0) {
            readsStdin = false;
        } else if (strcmp(word, "--c") == 0) {
            if (char* commands = nextArgument(&rest)) queueCommands(commands, queue);
        }
    }
    return readsStdin;
}
