/**
 * @file
 * The general services: the trace, region logs, the console, and the removable disk.
 */
#ifndef ZATOSW_GEN_GEN_H
#define ZATOSW_GEN_GEN_H

#include "console/console.h"
#include "console/file_data.h"
#include "disk/cache.h"
#include "disk/card_attribute.h"
#include "disk/drive.h"
#include "disk/file_attribute.h"
#include "disk/label.h"
#include "disk/mount.h"
#include "rgnlog/region_log.h"
#include "rgnlog/region_print.h"
#include "trace/component.h"
#include "trace/dump.h"
#include "trace/hook.h"
#include "trace/listing.h"
#include "trace/maintenance_log.h"
#include "trace/mask.h"
#include "trace/output.h"
#include "trace/settings.h"
#include "trace/trace_log.h"

#endif
