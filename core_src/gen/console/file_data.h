/**
 * @file
 * Whole files into memory and back; what became of them is traced under the console's component.
 */
#ifndef ZATOSW_GEN_CONSOLE_FILE_DATA_H
#define ZATOSW_GEN_CONSOLE_FILE_DATA_H

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

/**
 * Reads a file into memory.
 *
 * @param path       file to read
 * @param sizeBytes  receives how many bytes were read
 *
 * @return the bytes, which the caller frees with zatOSWOrgFreeMemPart() and partition 0; null when
 *         the file cannot be opened, holds nothing or cannot be read, of which a message tells, and
 *         without one when there is no memory, or path or sizeBytes is null
 *
 * Waits for the file. May be called from any task.
 */
ZATOSW_API void* zatGENReadFileData(const char* path, uint32_t* sizeBytes);

/**
 * Writes a file anew.
 *
 * @param path         file to write
 * @param bytes        its content; may be null when lengthBytes is 0
 * @param lengthBytes  length of the content
 *
 * @return 1  written
 * @return 0  the file cannot be opened or written, of which a message tells; what was written of it
 *            stays. Or path is null, or bytes though there are some
 *
 * Waits for the file. May be called from any task.
 */
ZATOSW_API uint32_t zatGENWriteFileData(const char* path, const void* bytes, uint32_t lengthBytes);

ZATOSW_END_DECLS

#endif
