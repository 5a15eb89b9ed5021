/* Command lines for the shell, and what commands print. */
#ifndef ZATOSW_GEN_DISK_COMMAND_PRIVATE_H
#define ZATOSW_GEN_DISK_COMMAND_PRIVATE_H

#include <stddef.h>
#include <stdio.h>

#include <memory>

/*
 * Writes a command that ends in a drive letter, a colon, and text, such as a path on the drive. The
 * words before it are the shell's; letter and text stay what they are, whatever the shell would
 * make of them. False when that cannot be said in the buffer.
 */
bool diskWriteCommand(char* buffer, size_t sizeBytes, const char* words, char letter,
                      const char* text);

/* Runs a command; whether it succeeded. */
bool diskRun(const char* command);

/* Waits for the very command that it was opened for. */
struct DiskCloseAnswer {
    void operator()(FILE* answer) const { pclose(answer); }
};

using DiskAnswer = std::unique_ptr<FILE, DiskCloseAnswer>;

/* Starts a command, whose output is read from what is returned; null when it cannot be started. */
DiskAnswer diskAsk(const char* command);

#endif
