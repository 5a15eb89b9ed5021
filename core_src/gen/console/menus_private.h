/*
 * What the application adds to the console: menus and functions for its own commands.
 *
 * Three tables of functions, under the task lock, which nobody holds while one of them runs:
 * another task may add or remove meanwhile. A removed function leaves an empty slot.
 */
#ifndef ZATOSW_GEN_MENUS_PRIVATE_H
#define ZATOSW_GEN_MENUS_PRIVATE_H

#include "gen/console/console_private.h"

enum class GenMenuKind { Control, User, Command };

bool genHasMenu(GenMenuKind kind);

/* Calls the menus of a kind in the order in which they were added, until one answers with something
 * else than 0; false then. */
bool genCallMenus(GenMenuKind kind);

/* Gives each command function a line, a copy of its own. */
void genCallCommands(const char* line);

/* Forgets all of them. */
void genForgetMenus();

#endif
