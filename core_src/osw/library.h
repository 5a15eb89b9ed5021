/**
 * @file
 * Dynamically loaded libraries: loaded once by path, looked into, unloaded, listed.
 *
 * All calls may be made from any task, those of a library that is loaded or unloaded included.
 */
#ifndef ZATOSW_OSW_LIBRARY_H
#define ZATOSW_OSW_LIBRARY_H

#include "status.h"

ZATOSW_BEGIN_DECLS

/** A loaded library: the handle of dlopen(). */
typedef void* ZatLibrary;

/**
 * Loads a library, with lazy binding. One that is loaded already is not loaded again: the handle is
 * the same, and one unload is enough.
 *
 * @param library  receives the handle
 * @param path     as for dlopen()
 *
 * @return ZAT_OK      loaded
 * @return ZAT_FAILED  a null pointer, or dlopen() fails; dlerror() says why
 * @return a status of zatOSWOrgAllocMemPart()
 */
ZATOSW_API ZatStatus zatOSWLoadLibrary(ZatLibrary* library, const char* path);

/**
 * Finds a symbol of a library.
 *
 * @param library  handle from zatOSWLoadLibrary()
 * @param name     its name
 * @param address  receives its address
 *
 * @return ZAT_OK      found
 * @return ZAT_FAILED  not found, or a null pointer
 */
ZATOSW_API ZatStatus zatOSWGetProcAddress(ZatLibrary library, const char* name, void** address);

/** Unloads a library by its handle; one that is not loaded is ignored. ZAT_OK always. */
ZATOSW_API ZatStatus zatOSWFreeLibrary(ZatLibrary library);

/** Unloads a library by the path that it was loaded by; otherwise as zatOSWFreeLibrary(). */
ZATOSW_API ZatStatus zatOSWUnloadLibrary(const char* path);

/** Prints the loaded libraries by zatGENTrcPrintf(), type 0x102, under a component at a level.
 * ZAT_OK always. */
ZATOSW_API ZatStatus zatOSWShowLoadLibInfo(uint32_t component, uint32_t level);

ZATOSW_END_DECLS

#endif
