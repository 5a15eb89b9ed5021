/**
 * @file
 * The general services: trace components, masks, hooks and output.
 */
#ifndef ZATOSW_GEN_GEN_H
#define ZATOSW_GEN_GEN_H

#include "rgnlog/region_log.h"
#include "trace/component.h"
#include "trace/hook.h"
#include "trace/mask.h"
#include "trace/output.h"
#include "trace/settings.h"
#include "trace/trace_log.h"

#endif
