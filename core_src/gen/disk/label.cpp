/* Volume labels. */

#include "gen/disk/label.h"

#include <string.h>

#include "gen/disk/command_private.h"
#include "gen/disk/disk_private.h"

/* The answer's first line, as far as it can matter. */
struct LabelAnswer {
    char line[36];
};

static bool askForLabel(char letter, LabelAnswer& text) {
    char command[16];
    if (!diskWriteCommand(command, sizeof command, "mlabel -s ", letter, "")) return false;
    const DiskAnswer answer = diskAsk(command);
    return answer != nullptr && diskReadLine(answer.get(), text.line);
}

/* The word behind "Volume label is", null if there is none. Cuts the line up. */
static char* labelIn(char* line) {
    char* rest = nullptr;
    char* word = strtok_r(line, " \n", &rest);
    for (int i = 0; i < 3 && word != nullptr; ++i)
        word = strtok_r(nullptr, " \n", &rest);
    return word;
}

ZatStatus zatGENGetDiskLabel(const char* device, char* label) {
    const DiskCall call;
    if (device == nullptr || label == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    label[0] = '\0';
    char letter = 0;
    const ZatStatus status = diskFindDrive(device, letter);
    if (status != ZAT_OK) return status;
    LabelAnswer answer;
    if (!askForLabel(letter, answer)) return ZAT_DISK_LABEL_QUERY_FAILED;
    if (strstr(answer.line, " Volume has no label") != nullptr) return ZAT_DISK_NO_LABEL;
    if (strstr(answer.line, " Volume label is ") == nullptr) {
        printf("zatGENGetDiskLabel %d [error]\n", 471);
        return ZAT_DISK_LABEL_QUERY_FAILED;
    }
    char* const word = labelIn(answer.line);
    if (word == nullptr) return ZAT_DISK_LABEL_QUERY_FAILED;
    word[strnlen(word, ZAT_DISK_LABEL_SIZE)] = '\0';
    strncpy(label, word, ZAT_DISK_LABEL_BUFFER_SIZE);
    return ZAT_OK;
}

ZatStatus zatGENSetDiskLabel(const char* device, const char* label) {
    const DiskCall call;
    if (device == nullptr || label == nullptr) return ZAT_DISK_BAD_ARGUMENT;
    char letter = 0;
    const ZatStatus status = diskFindDrive(device, letter);
    if (status != ZAT_OK) return status;
    if (strlen(label) > ZAT_DISK_LABEL_SIZE) return ZAT_DISK_LABEL_TOO_LONG;
    char command[30];
    if (!diskWriteCommand(command, sizeof command, "mlabel -n ", letter, label) ||
        !diskRun(command))
        return ZAT_DISK_LABEL_FAILED;
    return ZAT_OK;
}
