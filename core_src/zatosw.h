/**
 * @file
 * Everything that the library offers; each room's own header may be included instead.
 */
#ifndef ZATOSW_H
#define ZATOSW_H

#include "clb/clb.h"
#include "gen/gen.h"
#include "osw/ipc/ipc.h"
#include "osw/osw.h"

#endif
